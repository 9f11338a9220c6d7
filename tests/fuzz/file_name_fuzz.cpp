// Received file names: what they ask for, and where the fence lets them lead.

#include "base/fenced_file.h"
#include "base/text.h"
#include "fuzz/require.h"
#include "support/temporary_folder.h"
#include "transfer/packet/control_files.h"

#include <Poco/Exception.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace quendal {
namespace {

namespace fs = std::filesystem;
using fuzz::require;

// A fence with a folder, a file, and links that stay inside and lead out: one letter each, so that
// arbitrary names come upon them.
class Fence {
 public:
  Fence() : path_(fs::canonical(folder_.path()).string() + "/f") {
    fs::create_directories(path_ + "/d/d");
    fs::create_directory(folder_.path() + "/outside");
    folder_.writeFile("f/a", "");
    fs::create_directory_symlink("d", path_ + "/l");
    fs::create_directory_symlink(folder_.path() + "/outside", path_ + "/o");
    fs::create_symlink(folder_.path() + "/outside/missing", path_ + "/m");
  }

  const std::string& path() const { return path_; }

 private:
  TemporaryFolder folder_;
  std::string path_;
};

void checkEffects(const std::string& name) {
  const ControlEffects effects = controlEffectsOf(name);
  require(effects == controlEffectsOf("x" + name + "x"), "markers match anywhere");

  const std::string lower = asciiLowerCase(name);
  require(lower.size() == name.size(), "lower case keeps the length");
  require(asciiLowerCase(lower) == lower, "lower case has no capitals");
  require(!isRebootRequest(lower) || lower == "reboot.cfg", "only the whole name reboots");
  require(contains(archiveReceivedText(name), name), "the archive log names the file");
}

void checkFence(const std::string& name) {
  static const Fence kFence;
  FencedPath place;
  try {
    place = resolveInside(kFence.path(), name);
  } catch (const Poco::Exception&) {
    return;
  }
  require(place.folder == kFence.path() || place.folder.starts_with(kFence.path() + "/"), "the folder is inside");
  require(fs::canonical(place.folder) == place.folder, "the folder is free of links");
  require(!place.leaf.empty() && place.leaf != "." && place.leaf != "..", "the leaf is a name");
  require(place.leaf.find('/') == std::string::npos && place.leaf.find('\0') == std::string::npos,
          "the leaf is one component");
  std::error_code ignored;
  require(!fs::is_directory(place.folder + "/" + place.leaf, ignored), "the place is no directory");
}

}  // namespace
}  // namespace quendal

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string name(reinterpret_cast<const char*>(data), size);
  quendal::checkEffects(name);
  quendal::checkFence(name);
  return 0;
}
