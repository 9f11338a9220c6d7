#include "multicast/alive_rules.h"

#include <gtest/gtest.h>

#include <limits>

namespace quendal {
namespace {

constexpr DisplayAddress kOwn{.unitNo = 3, .columnNo = 2, .groupNo = 1};

TEST(AliveRequestAddress, AllZeroIsForEveryDisplay) {
  EXPECT_TRUE(isAddressedTo({}, kOwn));
  EXPECT_TRUE(isAddressedTo({}, {}));
}

TEST(AliveRequestAddress, EachNumberIsAWildcardOrMustBeEqual) {
  struct Case {
    DisplayAddress asked;
    bool expected;
  };
  const Case cases[] = {
      {{.unitNo = 3, .columnNo = 2, .groupNo = 1}, true},  {{.unitNo = 0, .columnNo = 0, .groupNo = 1}, true},
      {{.unitNo = 0, .columnNo = 2, .groupNo = 0}, true},  {{.unitNo = 3, .columnNo = 0, .groupNo = 0}, true},
      {{.unitNo = 4, .columnNo = 2, .groupNo = 1}, false}, {{.unitNo = 3, .columnNo = 3, .groupNo = 1}, false},
      {{.unitNo = 3, .columnNo = 2, .groupNo = 2}, false}, {{.unitNo = 4, .columnNo = 0, .groupNo = 0}, false},
      {{.unitNo = 0, .columnNo = 1, .groupNo = 0}, false}, {{.unitNo = 0, .columnNo = 0, .groupNo = 65535}, false},
      {{.unitNo = 1, .columnNo = 2, .groupNo = 3}, false},
  };
  for (const Case& example : cases) {
    EXPECT_EQ(isAddressedTo(example.asked, kOwn), example.expected)
        << example.asked.groupNo << '/' << example.asked.columnNo << '/' << example.asked.unitNo;
  }
}

TEST(AliveRequestAddress, DisplayWithoutNumbersAnswersToWildcardsOnly) {
  EXPECT_FALSE(isAddressedTo({.unitNo = 1}, {}));
}

TEST(AliveAnswerRate, AtMostOneAnswerInSixSeconds) {
  for (const int seconds : {0, 1, 3, 5}) {
    EXPECT_FALSE(isAnswerDue(seconds)) << seconds;
  }
  EXPECT_TRUE(isAnswerDue(6));
  EXPECT_TRUE(isAnswerDue(86400));
}

TEST(AliveAnswerRate, ClockThatWentBackByOneSecondHoldsTheAnswerAndByMoreDoesNot) {
  EXPECT_FALSE(isAnswerDue(-1));
  EXPECT_TRUE(isAnswerDue(-2));
  EXPECT_TRUE(isAnswerDue(-86400));
}

TEST(AliveAnswerRate, ClockSetFromTheEpochToTodayLetsTheAnswerOut) {
  EXPECT_TRUE(isAnswerDue(1'800'000'000));
  EXPECT_TRUE(isAnswerDue(4'294'967'295));
  EXPECT_TRUE(isAnswerDue(std::numeric_limits<std::int64_t>::max()));
}

}  // namespace
}  // namespace quendal
