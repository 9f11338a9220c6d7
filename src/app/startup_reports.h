// The lines in which the start-up reports what the display is. Pure functions of the values read.
#pragma once

#include <cstdint>
#include <string>

namespace quendal {

/// "   GroupNO/LiftNO/DisplayNO:" and the three numbers separated by "/".
std::string identityReport(std::uint16_t group, std::uint16_t column, std::uint16_t display);

/// What the DIP switch says: bits 0 to 5 of the switch byte are the unit number, and 0 and 0x3F mark a
/// display in the car, all others one in a hall.
struct DipSetting {
  bool isCar = true;
  unsigned unitId = 0;
};

/// Reads the switch byte from a hexadecimal text, with or without "0x"; an unreadable one is 0.
DipSetting parseDipSetting(const std::string& hexText);

/// The report of `setting`, with the line break that it begins with.
std::string dipReport(const DipSetting& setting);

/// The report of a panel turned by `degrees`, with the line breaks around it. Whole quarter turns count,
/// towards zero: -89 to 359 degrees have a name, other angles have none.
std::string orientationReport(int degrees);

}  // namespace quendal
