#include "base/retry.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

constexpr Poco::Timestamp::TimeVal kSecond = 1'000'000;

TEST(Retry, IsDueFromTenSecondsOn) {
  const Poco::Timestamp last(1'800'000'000 * kSecond);

  for (int seconds = 0; seconds < 100; ++seconds) {
    EXPECT_EQ(isRetryDue(last, last + seconds * kSecond), seconds >= 10) << seconds;
  }
  EXPECT_FALSE(isRetryDue(last, last + 10 * kSecond - 1));
}

TEST(Retry, ClockThatHasBeenSetPutsNothingOff) {
  const Poco::Timestamp last(1'800'000'000 * kSecond);

  EXPECT_TRUE(isRetryDue(last, last - 1));
  EXPECT_TRUE(isRetryDue(last, Poco::Timestamp(0)));
  EXPECT_TRUE(isRetryDue(Poco::Timestamp(0), last));
}

}  // namespace
}  // namespace quendal
