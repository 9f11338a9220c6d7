#include "maintenance/stick/file_list.h"

#include "base/text.h"
#include "transfer/packet/control_files.h"

namespace quendal {
namespace {

constexpr std::size_t kFieldsInEntry = 3;
constexpr std::size_t kFlagField = 1;
constexpr std::size_t kNameField = 2;

Announcement announcementOf(const std::string& name, Announcement before) {
  const ControlEffects effects = controlEffectsOf(name);
  if (effects.enterNormalMode) {
    return Announcement::kNormal;
  }
  return effects.enterDontCareMode ? Announcement::kDontCare : before;
}

}  // namespace

std::string trimFileList(const std::string& value) {
  const std::size_t first = value.find_first_not_of(';');
  if (first == std::string::npos) {
    return {};
  }
  return value.substr(first, value.find_last_not_of(';') + 1 - first);
}

std::optional<FileList> parseFileList(const std::string& value) {
  FileList list;
  for (const std::string& entry : split(value, ";")) {
    const std::vector<std::string> fields = split(entry, "#");
    if (fields.size() != kFieldsInEntry || fields[kFlagField] != "0") {
      return std::nullopt;
    }
    list.names.push_back(fields[kNameField]);
    list.announcement = announcementOf(fields[kNameField], list.announcement);
  }
  return list;
}

std::string fileListReport(const std::string& value) {
  return "\n**********************************************************"
         "\n*********  Going to extract file name from fileList:["
         "\n" +
         value + "]\n";
}

std::string copyReport(const Poco::DateTime& time, std::size_t index, std::size_t count, const std::string& name) {
  return "\n" + std::to_string(time.hour()) + ":" + std::to_string(time.minute()) + ":" +
         std::to_string(time.second()) + "." + std::to_string(time.millisecond()) + " Copying [" +
         std::to_string(index) + " of " + std::to_string(count) + "]: " + name + "...";
}

}  // namespace quendal
