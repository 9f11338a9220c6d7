#include "base/command_patience.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLong{1000000};
constexpr CommandLimits kLimits;

CommandStep stepOf(const CommandAge& age) {
  return nextCommandStep(age, kLimits);
}

TEST(CommandPatience, CommandHasAMinuteWithoutProgress) {
  EXPECT_EQ(stepOf({.sinceProgress = milliseconds(59999)}), CommandStep::kWait);
  EXPECT_EQ(stepOf({.sinceProgress = milliseconds(60000)}), CommandStep::kTerminate);
}

TEST(CommandPatience, CommandHasTwoSecondsOnceTheServiceIsAskedToStop) {
  EXPECT_EQ(stepOf({.sinceStop = milliseconds(1999)}), CommandStep::kWait);
  EXPECT_EQ(stepOf({.sinceStop = milliseconds(2000)}), CommandStep::kTerminate);
}

TEST(CommandPatience, TerminatedOneIsKilledTwoSecondsLaterAndNotTerminatedAgain) {
  for (const milliseconds since : {milliseconds(0), milliseconds(1999)}) {
    EXPECT_EQ(stepOf({.sinceProgress = kLong, .sinceStop = kLong, .sinceTermination = since}), CommandStep::kWait);
  }
  EXPECT_EQ(stepOf({.sinceProgress = kLong, .sinceTermination = milliseconds(2000)}), CommandStep::kKill);
}

TEST(CommandPatience, ProgressBehindTheTerminationSavesNobody) {
  EXPECT_EQ(stepOf({.sinceProgress = milliseconds(0), .sinceTermination = milliseconds(2000)}), CommandStep::kKill);
}

TEST(CommandPatience, KilledOneThatDoesNotGoIsLeftAfterAMoment) {
  for (const milliseconds since : {milliseconds(0), milliseconds(499)}) {
    EXPECT_EQ(stepOf({.sinceProgress = kLong, .sinceStop = kLong, .sinceTermination = kLong, .sinceKilling = since}),
              CommandStep::kWait);
  }
  EXPECT_EQ(stepOf({.sinceProgress = kLong, .sinceTermination = kLong, .sinceKilling = milliseconds(500)}),
            CommandStep::kLeave);
}

// One life, looked at every `interval`: the steps and when each was due.
struct Life {
  std::vector<std::string> steps;
  milliseconds end{0};
};

Life live(milliseconds interval, milliseconds lastProgress, std::optional<milliseconds> stop) {
  Life life;
  std::optional<milliseconds> terminated;
  std::optional<milliseconds> killed;
  const auto since = [](const std::optional<milliseconds>& moment, milliseconds now) {
    return moment && now >= *moment ? std::optional(now - *moment) : std::nullopt;
  };
  for (milliseconds now{0}; life.end == milliseconds(0); now += interval) {
    const milliseconds progress = std::min(now, lastProgress);
    switch (stepOf({now - progress, since(stop, now), since(terminated, now), since(killed, now)})) {
      case CommandStep::kWait:
        break;
      case CommandStep::kTerminate:
        terminated = now;
        life.steps.emplace_back("terminate");
        break;
      case CommandStep::kKill:
        killed = now;
        life.steps.emplace_back("kill");
        break;
      case CommandStep::kLeave:
        life.steps.emplace_back("leave");
        life.end = now;
        break;
    }
  }
  return life;
}

// Whenever the last progress and the stop come, and however seldom somebody looks.
TEST(CommandPatience, EveryHangingCommandIsLeftInTheEndAndNeverLate) {
  for (const milliseconds interval : {milliseconds(50), milliseconds(200), milliseconds(700)}) {
    for (milliseconds progress{0}; progress <= milliseconds(200000); progress += milliseconds(13331)) {
      for (milliseconds stop{0}; stop <= milliseconds(300000); stop += milliseconds(7919)) {
        const Life life = live(interval, progress, stop);

        EXPECT_EQ(life.steps, (std::vector<std::string>{"terminate", "kill", "leave"}));
        const milliseconds due =
            std::min(progress + kLimits.standstill, stop + kLimits.stopping) + kLimits.termination + kLimits.killing;
        EXPECT_GE(life.end, due);
        EXPECT_LE(life.end, due + 3 * interval);
      }
    }
  }
}

}  // namespace
}  // namespace quendal
