#include "app/startup_reports.h"

#include <sstream>

namespace quendal {
namespace {

constexpr unsigned kUnitIdMask = 0x3F;
constexpr int kQuarterTurn = 90;

std::string orientationName(int quarterTurns) {
  switch (quarterTurns) {
    case 0:
      return "Landscape";
    case 1:
      return "Portrait";
    case 2:
      return "Landscape Inverted";
    case 3:
      return "Portrait Inverted";
    default:
      return {};
  }
}

}  // namespace

std::string identityReport(std::uint16_t group, std::uint16_t column, std::uint16_t display) {
  return "   GroupNO/LiftNO/DisplayNO:" + std::to_string(group) + "/" + std::to_string(column) + "/" +
         std::to_string(display);
}

DipSetting parseDipSetting(const std::string& hexText) {
  std::istringstream stream(hexText);
  unsigned value = 0;
  if (!(stream >> std::hex >> value)) {
    value = 0;
  }
  const unsigned unitId = value & kUnitIdMask;
  return {.isCar = unitId == 0 || unitId == kUnitIdMask, .unitId = unitId};
}

std::string dipReport(const DipSetting& setting) {
  return std::string("\r\n   DIP switch set LCD to ") + (setting.isCar ? "Car Type" : "HALL Type") +
         ", Unit ID = " + std::to_string(setting.unitId);
}

std::string orientationReport(int degrees) {
  return "\r\n   Orientation: " + orientationName(degrees / kQuarterTurn) + "\r\n";
}

}  // namespace quendal
