// What McTask makes of a socket that could not be opened, or not be led into its group.
#include "base/shared_state.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "unit/multicast/mc_task_fixture.h"

#include <Poco/Net/MulticastSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quendal {
namespace {

using Poco::Net::SocketAddress;

class McTaskRetry : public McTaskTest {
 protected:
  // A wait of a second, at whose end this holds.
  Step second(const std::function<void()>& look = [] {}) {
    return [this, look] {
      ++passed_;
      fake::setNow(atHour(13) + passed_ * Poco::Timestamp::resolution());
      look();
      return true;
    };
  }

  std::vector<Step> seconds(int count) { return std::vector<Step>(static_cast<std::size_t>(count), second()); }

  void runSteps(std::vector<Step> first, const std::vector<Step>& then) {
    first.insert(first.end(), then.begin(), then.end());
    run(std::move(first));
  }

 private:
  int passed_ = 0;
};

class McTaskNotBound : public McTaskRetry {
 protected:
  McTaskNotBound() { shared::mcGroupAddress = Poco::Net::IPAddress("198.51.100.1"); }

  static void heal() {
    const std::unique_ptr<const SocketAddress> bad(
        std::exchange(shared::mcBindAddress, new SocketAddress("239.255.77.1", shared::mcPort)));
  }

  const std::string kNotBound =
      kTrigger +
      "\nMcTask: Exception Met!\nException Message:Net Exception: Cannot assign requested address: 198.51.100.1:" +
      std::to_string(shared::mcPort) + "mc thread resume!\n";
};

TEST_F(McTaskNotBound, IsOpenedAgainEveryTenSeconds) {
  runSteps(seconds(9), {second([this] { EXPECT_EQ(capture.text(), kNotBound); }),
                        second([this] { EXPECT_EQ(capture.text(), kNotBound + kPaused + kNotBound); }), stop()});

  EXPECT_EQ(capture.text(), kNotBound + kPaused + kNotBound + kPaused + kEnd);
}

TEST_F(McTaskNotBound, IsOpenedAgainAtOnceWhenTheClockIsSetBack) {
  run({second(), second([] { fake::setNow(atHour(13) - 1); }),
       second([this] { EXPECT_EQ(capture.text(), kNotBound + kPaused + kNotBound); }), stop()});
}

TEST_F(McTaskNotBound, ReceivesOnceItCanBeBound) {
  runSteps(seconds(9), {second(&heal), [this] { return capture.text() == kNotBound + kPaused + kOpened; }, stop()});

  EXPECT_EQ(capture.text(), kNotBound + kPaused + kOpened + kPaused + kEnd);
}

TEST_F(McTaskNotBound, FollowsAPauseWithinASecondAndOpensWhenItIsReleased) {
  run({second(), second([] { shared::mcPauseReq = true; }), second([this] {
         EXPECT_TRUE(shared::mcPaused);
         EXPECT_EQ(capture.text(), kNotBound + kPaused);
         heal();
         shared::mcPauseReq = false;
       }),
       stop()});

  EXPECT_EQ(capture.text(), kNotBound + kPaused + kOpened + kPaused + kEnd);
}

TEST_F(McTaskNotBound, FollowsAStopWithinASecond) {
  run({second(), stop()});

  EXPECT_EQ(capture.text(), kNotBound + kPaused + kEnd);
}

// Another member of the group on this machine has its datagrams come to the task all the same, so that the
// script goes on without real time.
class McTaskNotJoined : public McTaskRetry {
 protected:
  McTaskNotJoined() {
    member_.bind(*shared::mcBindAddress, true);
    member_.joinGroup(shared::mcBindAddress->host(), shared::currentInterface);
    cutOff();
  }

  static void heal() { shared::currentInterface = loopbackInterface(); }

 private:
  Poco::Net::MulticastSocket member_;
};

TEST_F(McTaskNotJoined, IsReportedOnceAndReceivedFromLikeAnyOther) {
  runSteps(seconds(35), {stop()});

  EXPECT_EQ(capture.text(), kNotJoined + kPaused + kEnd);
}

TEST_F(McTaskNotJoined, IsJoinedTenSecondsLaterAndSaysSoOnce) {
  runSteps(seconds(9),
           {second(&heal), second([this] { EXPECT_EQ(capture.text(), kNotJoined + kJoined); }), second(), stop()});

  EXPECT_EQ(capture.text(), kNotJoined + kJoined + kPaused + kEnd);
}

TEST_F(McTaskNotJoined, IsTriedAgainAndAgain) {
  runSteps(seconds(29), {second(&heal), second(), stop()});

  EXPECT_EQ(capture.text(), kNotJoined + kJoined + kPaused + kEnd);
}

}  // namespace
}  // namespace quendal
