#include "transfer/control_files.h"

#include <Poco/Ascii.h>
#include <Poco/Format.h>

#include <algorithm>

namespace quendal {
namespace {

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

}  // namespace

ControlEffects controlEffectsOf(std::string_view fileName) {
  return {.enterNormalMode = contains(fileName, kFileListMarker),
          .enterDontCareMode = contains(fileName, kDontCareMarker),
          .endTransfer = contains(fileName, kTransferStopMarker),
          .logArchive = contains(fileName, ".zip")};
}

std::string archiveLogStamp(const Poco::DateTime& time) {
  return Poco::format("%02d:%02d:%02d\t", time.hour(), time.minute(), time.second()) +
         Poco::format("%02d/%02d/%02d - ", time.day(), time.month(), time.year());
}

std::string archiveLogLine(const Poco::DateTime& time, std::string_view fileName) {
  return archiveLogStamp(time) + std::string(fileName) + " Received thru LAN.)\r\n";
}

std::string asciiLowerCase(std::string_view fileName) {
  std::string lower(fileName);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
    return static_cast<char>(Poco::Ascii::toLower(static_cast<unsigned char>(letter)));
  });
  return lower;
}

bool isRebootRequest(std::string_view lowerCaseName) {
  return lowerCaseName == "reboot.cfg";
}

}  // namespace quendal
