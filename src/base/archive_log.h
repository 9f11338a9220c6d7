// The log of archives: which came over the network, and which a technician has read back.
#pragma once

#include <Poco/DateTime.h>

#include <string>
#include <string_view>

namespace quendal {

/// Relative to the working directory, beside ../Work and ../Dest.
inline constexpr const char* kArchiveLogFolder = "..";
inline constexpr const char* kArchiveLogPath = "../LogZipTmp.dat";

/// One line of the log: time and date of `time` (UTC), " - ", `text` and CR LF.
std::string archiveLogLine(const Poco::DateTime& time, std::string_view text);

/// Appends a line with `text`, stamped with the time of now. A log that cannot be opened or written costs
/// its line and nothing else.
void appendToArchiveLog(std::string_view text);

}  // namespace quendal
