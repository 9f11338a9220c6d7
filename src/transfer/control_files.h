// What a received file's name asks for: the control files that frame a transfer, the archive log and
// the reboot request. Pure functions of names and times.
#pragma once

#include <Poco/DateTime.h>

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

/// The log of archives: which came over the network, and which a technician has read back. Relative
/// to the working directory, beside ../Work and ../Dest.
inline constexpr const char* kArchiveLogPath = "../LogZipTmp.dat";

/// How every line of the archive log begins: time and date of `time` (UTC) and " - ".
std::string archiveLogStamp(const Poco::DateTime& time);

/// The line of the archive log for `fileName`, received at `time` (UTC). Its stray closing
/// parenthesis and its CR LF are what the log's readers expect.
std::string archiveLogLine(const Poco::DateTime& time, std::string_view fileName);

/// Turns A to Z of `fileName` into lower case, whatever the locale.
std::string asciiLowerCase(std::string_view fileName);

/// Is this lower-cased name the reboot request? Only the whole name counts.
bool isRebootRequest(std::string_view lowerCaseName);

}  // namespace quendal
