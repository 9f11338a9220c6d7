// What is read from a technician's stick and about it, over arbitrary texts: the list of files, the
// folders' names, the block devices and the lines of the kernel's list of partitions.

#include "base/text.h"
#include "fuzz/require.h"
#include "maintenance/stick/drive.h"
#include "maintenance/stick/file_list.h"
#include "maintenance/stick/folder_match.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quendal {
namespace {

using fuzz::require;

const DisplayIdentity kOwn{.groupNo = 1, .columnNo = 2, .displayNo = 3};

std::string joined(const std::vector<std::string>& pieces, const std::string& separator) {
  std::string text = pieces.front();
  for (std::size_t index = 1; index < pieces.size(); ++index) {
    text += separator + pieces[index];
  }
  return text;
}

void checkSplit(const std::string& text) {
  for (const char* separator : {".", ";", "#", "sd"}) {
    require(joined(split(text, separator), separator) == text, "the pieces make up the text again");
  }
  require(split(text, "") == std::vector{text}, "without a separator the text is the one piece");
}

void checkFileList(const std::string& text) {
  const std::string value = trimFileList(text);
  require(value.empty() || (value.front() != ';' && value.back() != ';'), "both ends are trimmed");
  require(text.find(value) != std::string::npos, "nothing else is changed");

  const std::optional<FileList> list = parseFileList(value);
  if (list) {
    require(list->names.size() == split(value, ";").size(), "each entry names a file");
    require(std::all_of(list->names.begin(), list->names.end(),
                        [&value](const std::string& name) { return value.find("#0#" + name) != std::string::npos; }),
            "the flag stands before each name");
  }
}

void checkFolder(const std::string& name) {
  const std::set<int> weights = {0, 1, 10, 11, 100, 101, 110, 111};
  FolderChoice best;
  const std::string report = considerFolder(name, kOwn, best);

  require(report.starts_with("\nsub path name:" + name), "the report begins with the name");
  require(best.weight == -1 || weights.contains(best.weight), "a weight is made of the three parts");
  require(best.weight == -1 ? best.name.empty() : best.name == name, "the best is the only one");
}

bool isShellSafe(const std::string& name) {
  return std::all_of(name.begin(), name.end(), [](char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
  });
}

void checkDrive(const std::string& text) {
  const PartitionLine partition = parsePartitionLine(text);
  require(partition.name.find_first_of(" \t\r\n") == std::string::npos, "a name is one word");
  require(!isStickPartition(partition.name) || isStickDrive(partition.name), "a partition is a drive as well");
  for (const std::string& name : {text, partition.name}) {
    require(!isStickDrive(name) || isShellSafe(name), "a drive's name may stand in a command");
  }
  require(isShellSafe(chooseDrive(split(text, "\n"))), "so may that of a block device");
}

}  // namespace
}  // namespace quendal

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  quendal::checkSplit(text);
  quendal::checkFileList(text);
  quendal::checkFolder(text);
  quendal::checkDrive(text);
  return 0;
}
