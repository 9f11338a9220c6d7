// What McTask makes of the moments at which a clock is special: midnight, the ends of a year and of February, and
// its being set.
#include "base/shared_state.h"
#include "multicast/multicast_state.h"
#include "support/fake_platform.h"
#include "unit/multicast/mc_task_fixture.h"

#include <Poco/DateTime.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

class McTaskClock : public McTaskTest {
 protected:
  // Opened once more, at the hour `hour`.
  static std::string relaunch(int hour) {
    return "relauching mcast thread at hour:" + std::to_string(hour) + "..." + kPaused + kOpened;
  }

  // Lets the task read each of the times once; returns what it has written.
  std::string textOf(const std::vector<Poco::DateTime>& times) {
    std::vector<Step> script;
    script.reserve(times.size() + 1);
    for (const Poco::DateTime& time : times) {
      script.emplace_back([time] {
        fake::setNow(time.timestamp());
        return true;
      });
    }
    script.push_back(stop());
    run(script);
    return capture.text();
  }
};

TEST_F(McTaskClock, RelaunchesAtTheMidnightOfEveryKindOfDayAndNotAMicrosecondBefore) {
  shared::mcRstHrFactor = 12;

  EXPECT_EQ(textOf({{2024, 2, 28, 23, 59, 59, 999, 999},
                    {2024, 2, 29, 0, 0, 0},
                    {2024, 2, 29, 12, 0, 0},
                    {2024, 2, 29, 23, 59, 59, 999, 999},
                    {2024, 3, 1, 0, 0, 0},
                    {2024, 12, 31, 12, 0, 0},
                    {2024, 12, 31, 23, 59, 59, 999, 999},
                    {2025, 1, 1, 0, 0, 0}}),
            kOpened + relaunch(0) + relaunch(12) + relaunch(0) + relaunch(12) + relaunch(0) + kPaused + kEnd);
}

TEST_F(McTaskClock, StartBeforeMidnightDoesNotRelaunchUntilThen) {
  EXPECT_EQ(
      textOf({{2024, 5, 17, 23, 59, 58}, {2024, 5, 17, 23, 59, 59}, {2024, 5, 18, 0, 0, 0}, {2024, 5, 18, 0, 59}}),
      kOpened + relaunch(0) + kPaused + kEnd);
}

TEST_F(McTaskClock, ClockThatIsSetBackBehindTheHourOfARelaunchDoesNotRepeatIt) {
  shared::mcRstHrFactor = 4;

  EXPECT_EQ(textOf({{2024, 5, 17, 16, 0, 5}, {2024, 5, 17, 15, 59, 50}, {2024, 5, 17, 16, 0, 0}}),
            kOpened + relaunch(16) + kPaused + kEnd);
}

TEST_F(McTaskClock, ClockThatIsSetOnByYearsRelaunchesIfItsHourQualifies) {
  shared::mcRstHrFactor = 4;

  EXPECT_EQ(textOf({{1970, 1, 1, 13, 10}, {2024, 5, 17, 15, 0}, {2038, 1, 19, 20, 14, 8}}),
            kOpened + relaunch(20) + kPaused + kEnd);
}

}  // namespace
}  // namespace quendal
