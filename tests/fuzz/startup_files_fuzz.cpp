// The start-up over arbitrary files: it ends, in time and without much memory, with one of its statuses.

#include "app/startup_config.h"
#include "base/shared_state.h"
#include "base/text.h"
#include "fuzz/require.h"
#include "fuzz/working_directory.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "support/fake_platform.h"
#include "support/start_folder.h"
#include "transfer/transfer_state.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace quendal {
namespace {

using fuzz::require;

// Stands between the files of one input; the ones that it has no text for are missing.
constexpr const char* kSeparator = "\x1e";
constexpr std::array kFiles = {"Work/Quendal_L.ini", "Work/KvId.ini", "Work/CurLayOut.cfg",
                               "data/home/kavenor/Work/DIP.ini", "Work/IPAddress.ini"};

void writeFiles(const StartFolder& folder, const std::string& input) {
  const std::vector<std::string> texts = split(input, kSeparator);
  for (std::size_t index = 0; index < kFiles.size(); ++index) {
    if (index < texts.size()) {
      folder.write(kFiles.at(index), texts[index]);
    } else {
      std::filesystem::remove(folder.path() + "/" + kFiles.at(index));
    }
  }
}

void start(const std::string& input) {
  const fuzz::WorkingDirectory directory;
  static const StartFolder kFolder;
  std::filesystem::current_path(kFolder.path() + "/bin");
  writeFiles(kFolder, input);
  fake::reset();
  fake::setSystemRoot(kFolder.path());
  shared::staticIpMode = false;

  const int status = loadStartupConfig();

  require(status == 0 || status == kExitBadStaticAddress || status == kExitBadConfiguration, "a status is documented");
  const bool isStatic = std::filesystem::exists(kFolder.path() + "/Work/IPAddress.ini");
  require(status != 0 || shared::staticIpMode == isStatic, "the file's existence chooses the static mode");
  require(status != 0 || shared::targetRootDir.starts_with("/"), "the target directory is absolute");
  require(status != 0 || shared::dataPortValue == shared::dataPort, "the port has one value");
  require(shared::staticIpMode || fake::commands().empty(), "nothing is run without a static address");
}

}  // namespace
}  // namespace quendal

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quendal::start(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
