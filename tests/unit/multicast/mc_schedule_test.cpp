#include "multicast/mc_schedule.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <vector>

namespace quendal {
namespace {

// The hours of a day at which a task that starts at `startHour` opens its socket anew.
std::vector<int> relaunchHours(int startHour, int factor) {
  std::vector<int> hours;
  int last = -1;
  for (int passed = 0; passed < 24; ++passed) {
    const int hour = (startHour + passed) % 24;
    // Asked many times within the hour, as the task does.
    for (int question = 0; question < 3; ++question) {
      if (isRelaunchDue(hour, last, factor)) {
        last = hour;
        hours.push_back(hour);
      }
    }
  }
  return hours;
}

TEST(Heartbeat, IsDueAtEveryTenthTimeout) {
  for (unsigned count = 1; count <= 100; ++count) {
    EXPECT_EQ(isHeartbeatDue(count), count % 10 == 0) << count;
  }
}

TEST(ReplyRate, AtMostOneReplyInSixSeconds) {
  for (const int seconds : {0, 1, 3, 5}) {
    EXPECT_FALSE(isReplyDue(seconds)) << seconds;
  }
  EXPECT_TRUE(isReplyDue(6));
  EXPECT_TRUE(isReplyDue(86400));
}

TEST(ReplyRate, ClockThatWentBackByOneSecondHoldsTheReplyAndByMoreDoesNot) {
  EXPECT_FALSE(isReplyDue(-1));
  EXPECT_TRUE(isReplyDue(-2));
  EXPECT_TRUE(isReplyDue(-86400));
}

TEST(ReplyRate, ClockSetFromTheEpochToTodayLetsTheReplyOut) {
  EXPECT_TRUE(isReplyDue(1'800'000'000));
  EXPECT_TRUE(isReplyDue(4'294'967'295));
  EXPECT_TRUE(isReplyDue(std::numeric_limits<std::int64_t>::max()));
}

TEST(Relaunch, WithFactorFourAndAStartAtThirteenTheFirstIsAtSixteen) {
  EXPECT_EQ(relaunchHours(13, 4), (std::vector{16, 20, 0, 4, 8, 12}));
}

TEST(Relaunch, StartDuringAQualifyingHourRelaunchesAtOnce) {
  EXPECT_EQ(relaunchHours(12, 4), (std::vector{12, 16, 20, 0, 4, 8}));
}

TEST(Relaunch, WithFactorOneEveryHourQualifiesOnce) {
  EXPECT_EQ(relaunchHours(5, 1).size(), 24U);
}

TEST(Relaunch, WithFactorZeroOnlyHourZeroQualifies) {
  EXPECT_EQ(relaunchHours(13, 0), std::vector{0});
}

TEST(Relaunch, NegativeFactorCountsAsItsMagnitude) {
  EXPECT_EQ(relaunchHours(13, -4), relaunchHours(13, 4));
  EXPECT_EQ(relaunchHours(13, -1).size(), 24U);
}

TEST(Relaunch, FactorBeyondTheDayLeavesHourZero) {
  for (const int factor : {24, 1000, INT_MAX, INT_MIN}) {
    EXPECT_EQ(relaunchHours(1, factor), std::vector{0}) << factor;
  }
}

}  // namespace
}  // namespace quendal
