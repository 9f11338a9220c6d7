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

// At which of the hours that a clock shows one after the other the socket is opened anew.
std::vector<int> relaunchHours(const std::vector<int>& shown, int factor) {
  std::vector<int> hours;
  for (const int hour : shown) {
    if (isRelaunchDue(hour, hours.empty() ? -1 : hours.back(), factor)) {
      hours.push_back(hour);
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

TEST(Relaunch, MidnightIsAnHourLikeTheOthers) {
  EXPECT_EQ(relaunchHours({22, 23, 0, 1, 23, 0}, 1), (std::vector{22, 23, 0, 1, 23, 0}));
  EXPECT_EQ(relaunchHours({23, 0, 0, 12, 23, 0}, 12), (std::vector{0, 12, 0}));
}

// Nothing tells the hour of one day from that of the next.
TEST(Relaunch, HourThatAloneQualifiesDoesSoOnTheFirstDayOnly) {
  for (const int factor : {0, 24}) {
    EXPECT_EQ(relaunchHours({22, 23, 0, 1, 23, 0, 1}, factor), std::vector{0}) << factor;
  }
}

TEST(Relaunch, ClockThatIsSetRelaunchesInEachQualifyingHourThatIsNotTheLast) {
  EXPECT_EQ(relaunchHours({16, 15, 16}, 4), std::vector{16}) << "back, over the full hour";
  EXPECT_EQ(relaunchHours({16, 12, 13, 16}, 4), (std::vector{16, 12, 16})) << "back, into another qualifying one";
  EXPECT_EQ(relaunchHours({13, 19, 20}, 4), std::vector{20}) << "on, over a qualifying one";
  EXPECT_EQ(relaunchHours({13, 20}, 4), std::vector{20}) << "on, into a qualifying one";
}

TEST(Relaunch, FactorBeyondTheDayLeavesHourZero) {
  for (const int factor : {24, 1000, INT_MAX, INT_MIN}) {
    EXPECT_EQ(relaunchHours(1, factor), std::vector{0}) << factor;
  }
}

}  // namespace
}  // namespace quendal
