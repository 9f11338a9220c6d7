#include "base/archive_log.h"

#include "base/platform.h"

#include <Poco/Format.h>

#include <fstream>

namespace quendal {

std::string archiveLogLine(const Poco::DateTime& time, std::string_view text) {
  return Poco::format("%02d:%02d:%02d\t", time.hour(), time.minute(), time.second()) +
         Poco::format("%02d/%02d/%02d - ", time.day(), time.month(), time.year()) + std::string(text) + "\r\n";
}

void appendToArchiveLog(std::string_view text) {
  std::ofstream log(kArchiveLogPath, std::ios::binary | std::ios::app);
  log << archiveLogLine(Poco::DateTime(platform::now()), text);
}

}  // namespace quendal
