// What a received file's name asks for: the control files that frame a transfer, the archive log and
// the reboot request. Pure functions of names.
#pragma once

#include <string>
#include <string_view>

namespace quendal {

inline constexpr std::string_view kFileListMarker = "FileList.sys";
inline constexpr std::string_view kDontCareMarker = "FLDnCare.sys";
inline constexpr std::string_view kTransferStopMarker = "kvXferStop.sys";

/// The effects of a name. The markers match anywhere inside it, so one name may have several; they
/// are carried out in the order of the fields.
struct ControlEffects {
  bool enterNormalMode = false;    // contains "FileList.sys"
  bool enterDontCareMode = false;  // contains "FLDnCare.sys"
  bool endTransfer = false;        // contains "kvXferStop.sys"
  bool logArchive = false;         // contains ".zip"

  bool operator==(const ControlEffects&) const = default;
};

ControlEffects controlEffectsOf(std::string_view fileName);

/// What the archive log says of a received archive. Its stray closing parenthesis is what the log's
/// readers expect.
std::string archiveReceivedText(std::string_view fileName);

/// Is this lower-cased name the reboot request? Only the whole name counts.
bool isRebootRequest(std::string_view lowerCaseName);

}  // namespace quendal
