#include "maintenance/stick/import.h"

#include "base/console.h"
#include "base/folders.h"
#include "base/platform.h"
#include "base/shared_state.h"
#include "base/system_commands.h"
#include "maintenance/stick/distribution.h"
#include "maintenance/stick/folder_match.h"

namespace quendal {
namespace {

FolderChoice chooseFolder(const std::string& path) {
  const DisplayIdentity own = shared::ownIdentity();
  FolderChoice best;
  for (const std::string& name : folderEntries(path)) {
    console::write(considerFolder(name, own, best));
  }
  return best;
}

}  // namespace

void importConfiguration(const std::string& mountPoint, bool exportDone, const StoppableWait& wait) {
  const std::string root = mountPoint + "/KVCFG";
  console::line("Searching /KVCFG folder in USB Device,\n>>" + root + "......\n");
  if (!isFolder(platform::systemPath(root))) {
    console::line("KVCFG Not found on usb drive!");
    if (exportDone) {
      platform::runShell(kRestartCommand);
    }
    return;
  }
  console::line("KVCFG found on usb drive!");

  const FolderChoice best = chooseFolder(platform::systemPath(root));
  if (best.name.empty()) {
    console::line("no match valid folder in KVCFG folder!");
    return;
  }
  const std::string folder = root + "/" + best.name;
  console::line(" CFGroot:" + folder + "/");
  distributeFiles(platform::systemPath(folder), wait);
}

}  // namespace quendal
