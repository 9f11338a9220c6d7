#include "multicast/attempt_limit.h"

#include <gtest/gtest.h>

#include <string>

namespace quendal {
namespace {

using Poco::Clock;
using Poco::Net::IPAddress;

constexpr Clock::ClockVal kSecond = 1000000;
const Clock kStart(5 * kSecond);
const IPAddress kSender("192.168.77.1");

IPAddress sender(std::size_t number) {
  return IPAddress("10.0.0." + std::to_string(number));
}

TEST(AttemptLimit, OneSenderHasTwoInASecond) {
  AttemptLimit limit;

  EXPECT_TRUE(limit.admit(kSender, kStart));
  EXPECT_TRUE(limit.admit(kSender, kStart));
  EXPECT_FALSE(limit.admit(kSender, kStart));
  EXPECT_FALSE(limit.admit(kSender, kStart + (kSecond - 1)));
  EXPECT_TRUE(limit.admit(kSender, kStart + kSecond));
}

TEST(AttemptLimit, SecondBeginsWithEachAttemptAnew) {
  AttemptLimit limit;
  limit.admit(kSender, kStart);
  limit.admit(kSender, kStart + kSecond / 2);

  EXPECT_TRUE(limit.admit(kSender, kStart + kSecond));
  EXPECT_FALSE(limit.admit(kSender, kStart + kSecond)) << "the one of half a second ago still counts";
  EXPECT_TRUE(limit.admit(kSender, kStart + kSecond * 3 / 2));
}

TEST(AttemptLimit, WhatIsRefusedDoesNotCount) {
  AttemptLimit limit;
  for (int attempt = 0; attempt < 1000; ++attempt) {
    limit.admit(kSender, kStart);
  }

  EXPECT_TRUE(limit.admit(kSender, kStart + kSecond));
}

TEST(AttemptLimit, OneSendersHasteIsNotTheOthersLoss) {
  AttemptLimit limit;
  for (int attempt = 0; attempt < 1000; ++attempt) {
    limit.admit(kSender, kStart);
  }

  EXPECT_TRUE(limit.admit(sender(1), kStart));
}

TEST(AttemptLimit, AllOfThemHaveTwentyInASecond) {
  AttemptLimit limit;
  for (std::size_t number = 0; number < AttemptLimit::kForAll; ++number) {
    EXPECT_TRUE(limit.admit(sender(number), kStart)) << number;
  }

  EXPECT_FALSE(limit.admit(sender(200), kStart + (kSecond - 1)));
  EXPECT_TRUE(limit.admit(sender(200), kStart + kSecond));
}

}  // namespace
}  // namespace quendal
