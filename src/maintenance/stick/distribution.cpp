#include "maintenance/stick/distribution.h"

#include "base/console.h"
#include "base/ini_file.h"
#include "base/platform.h"
#include "base/shared_state.h"
#include "base/system_commands.h"
#include "ipc/semaphore_table.h"
#include "maintenance/stick/file_copy.h"
#include "maintenance/stick/file_list.h"
#include "maintenance/stick/stick_state.h"
#include "transfer/packet/control_files.h"

#include <Poco/File.h>

#include <algorithm>

namespace quendal {
namespace {

// The display application needs this long to let go of what it shows.
constexpr long kStart2RxMs = 6000;
constexpr long kStart2RxDontCareMs = 1000;
constexpr long kRxCompleteMs = 6000;

bool areNamesAllowed(const std::string& folder, const std::vector<std::string>& names) {
  return std::all_of(names.begin(), names.end(),
                     [&folder](const std::string& name) { return isCopyAllowed(folder, shared::targetRootDir, name); });
}

void announceFiles(Announcement announcement, const StoppableWait& wait) {
  switch (announcement) {
    case Announcement::kNormal:
      postIpcSemaphore(kStart2Rx);
      wait(kStart2RxMs);
      break;
    case Announcement::kDontCare:
      postIpcSemaphore(kStart2RxDontCare);
      wait(kStart2RxDontCareMs);
      break;
    case Announcement::kNone:
      break;
  }
}

void copyFiles(const std::string& folder, const std::vector<std::string>& names) {
  console::line("-----Starting to copy " + std::to_string(names.size()) + " files.-----");
  std::size_t index = 0;
  for (const std::string& name : names) {
    ++index;
    console::write(copyReport(Poco::DateTime(platform::now()), index, names.size(), name));
    copyStickFile(folder, shared::targetRootDir, name);
    syncDisks();
  }
  console::line("File copying finished.");
}

void leaveStopMarker() {
  Poco::File(shared::targetRootDir + "/" + std::string(kTransferStopMarker)).createFile();
  syncDisks();
}

}  // namespace

void distributeFiles(const std::string& folder, const StoppableWait& wait) {
  const std::string listPath = folder + "/" + shared::usbSourceListFile;
  if (!Poco::File(listPath).exists()) {
    return;
  }
  const std::string value = trimFileList(loadIniFile(listPath)->getString("new_local_dist_task.fileList"));
  console::write(fileListReport(value));
  const std::optional<FileList> list = parseFileList(value);
  if (!list || !areNamesAllowed(folder, list->names)) {
    console::line("Format error found. \r\n Ignored this layout or file update!");
    return;
  }
  announceFiles(list->announcement, wait);
  copyFiles(folder, list->names);
  leaveStopMarker();
  wait(kRxCompleteMs);
  postIpcSemaphore(kRxComplete);
}

}  // namespace quendal
