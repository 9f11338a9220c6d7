// Who answers an alive request, and how often. Pure functions.
#pragma once

#include "transfer/lcd_packet.h"

#include <cstdint>

namespace quendal {

/// Is a request to `asked` meant for the display `own`? Each number must be equal or asked as 0.
bool isAddressedTo(const DisplayAddress& asked, const DisplayAddress& own);

/// May an answer leave `secondsSinceLast` whole seconds after the last one? Not within 6 seconds, and
/// not when the clock has gone back by one second; when it has gone back further, an answer is due at
/// once, so that a corrected clock does not silence the display.
bool isAnswerDue(std::int64_t secondsSinceLast);

}  // namespace quendal
