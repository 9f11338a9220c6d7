// Which display: its group, column and unit number.
#pragma once

#include <cstdint>

namespace quendal {

/// The three numbers of one display, or of the displays that somebody asks for: there, 0 fits any.
struct DisplayIdentity {
  std::uint16_t groupNo = 0;
  std::uint16_t columnNo = 0;
  std::uint16_t displayNo = 0;  // the unit number

  bool operator==(const DisplayIdentity&) const = default;
};

/// Does the display `own` belong to those that `asked` means? Each number must be equal or asked as 0.
constexpr bool isAddressedTo(const DisplayIdentity& asked, const DisplayIdentity& own) {
  const auto fits = [](std::uint16_t number, std::uint16_t ownNumber) { return number == 0 || number == ownNumber; };
  return fits(asked.groupNo, own.groupNo) && fits(asked.columnNo, own.columnNo) && fits(asked.displayNo, own.displayNo);
}

}  // namespace quendal
