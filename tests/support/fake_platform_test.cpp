#include "support/fake_platform.h"

#include "base/platform.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

namespace quendal {
namespace {

TEST(FakePlatform, ClockStandsWhereItIsSet) {
  fake::setNow(Poco::Timestamp(5));

  EXPECT_EQ(platform::now(), Poco::Timestamp(5));
  EXPECT_EQ(platform::now(), Poco::Timestamp(5));
}

// The machine's own time in its place would make a test that passes at one hour of the day and fails at another.
TEST(FakePlatformDeathTest, ClockThatNoTestHasSetEndsTheTestAndSaysWhatToCall) {
  const auto read = [] {
    dup2(STDERR_FILENO, STDOUT_FILENO);  // what is looked at below is the error stream
    platform::now();
  };

  EXPECT_EXIT(read(), testing::KilledBySignal(SIGABRT), "test has not set it: call fake::setNow");
}

}  // namespace
}  // namespace quendal
