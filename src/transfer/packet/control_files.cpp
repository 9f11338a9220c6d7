#include "transfer/packet/control_files.h"

#include "base/text.h"

namespace quendal {

ControlEffects controlEffectsOf(std::string_view fileName) {
  return {.enterNormalMode = contains(fileName, kFileListMarker),
          .enterDontCareMode = contains(fileName, kDontCareMarker),
          .endTransfer = contains(fileName, kTransferStopMarker),
          .logArchive = contains(fileName, ".zip")};
}

std::string archiveReceivedText(std::string_view fileName) {
  return std::string(fileName) + " Received thru LAN.)";
}

bool isRebootRequest(std::string_view lowerCaseName) {
  return lowerCaseName == "reboot.cfg";
}

}  // namespace quendal
