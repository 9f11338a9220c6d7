#include "multicast/alive_rules.h"

namespace quendal {
namespace {

constexpr std::uint64_t kAnswerIntervalSeconds = 6;

bool fits(std::uint16_t asked, std::uint16_t own) {
  return asked == 0 || asked == own;
}

}  // namespace

bool isAddressedTo(const DisplayAddress& asked, const DisplayAddress& own) {
  return fits(asked.groupNo, own.groupNo) && fits(asked.columnNo, own.columnNo) && fits(asked.unitNo, own.unitNo);
}

bool isAnswerDue(std::int64_t secondsSinceLast) {
  return static_cast<std::uint64_t>(secondsSinceLast) + 1 > kAnswerIntervalSeconds;
}

}  // namespace quendal
