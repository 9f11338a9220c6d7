// The reports of the start-up over arbitrary values from its files.

#include "app/startup_reports.h"
#include "fuzz/require.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace quendal {
namespace {

using fuzz::require;

void checkDip(const std::string& text) {
  const DipSetting setting = parseDipSetting(text);
  require(setting.unitId <= 63, "six bits are the unit");
  require(setting.isCar == (setting.unitId == 0 || setting.unitId == 63), "the two ends mark the car");
  require(dipReport(setting).ends_with(", Unit ID = " + std::to_string(setting.unitId)), "the report names the unit");
}

void checkOrientation(int degrees) {
  const std::string report = orientationReport(degrees);
  require(report.starts_with("\r\n   Orientation: ") && report.ends_with("\r\n"), "the report has its form");
  require(report.ends_with(": \r\n") == (degrees <= -90 || degrees >= 360), "the four quarters have a name");
}

}  // namespace
}  // namespace quendal

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quendal::checkDip(std::string(reinterpret_cast<const char*>(data), size));
  int degrees = 0;
  if (size >= sizeof degrees) {
    std::memcpy(&degrees, data, sizeof degrees);
    quendal::checkOrientation(degrees);
  }
  return 0;
}
