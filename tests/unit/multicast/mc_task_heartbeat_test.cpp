// When McTask sends a heartbeat. Its receive time-outs are cut to a millisecond here: they are counted.
#include "base/shared_state.h"
#include "multicast/mc_task.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "support/fake_platform.h"
#include "support/occurrences.h"
#include "support/packet_builder.h"
#include "unit/multicast/mc_task_fixture.h"

#include <Poco/Net/MulticastSocket.h>
#include <Poco/Timespan.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace quendal {
namespace {

class McTaskHeartbeat : public McTaskTest {
 protected:
  using AtWait = std::function<void(int wait)>;

  McTaskHeartbeat() {
    listener_.bind(*shared::mcBindAddress, true);
    listener_.joinGroup(shared::mcBindAddress->host(), shared::currentInterface);
  }

  // Runs the task to its end; `atWait` is called in each of its waits, with their number (from 1). The first
  // is that after a datagram of no bytes, which comes as soon as the socket is open; until a datagram with
  // bytes comes, one wait follows each time-out.
  void runQuietly(const AtWait& atWait) {
    std::atomic<bool> ended = false;
    std::thread transmitter([&] {
      for (std::size_t openings = 0; !ended; std::this_thread::yield()) {
        if (occurrences(capture.text(), "mc thread resume!") > openings) {
          ++openings;
          scene.sendToGroup("");
        }
      }
    });
    int wait = 0;
    fake::onEvent([&](const std::string& event) {
      EXPECT_EQ(event, "wait 1000");
      if (shared::mcSocket.impl()->sockfd() != POCO_INVALID_SOCKET) {
        shared::mcSocket.setReceiveTimeout(Poco::Timespan(0, 1000));
      }
      atWait(++wait);
    });
    task.runTask();
    ended = true;
    transmitter.join();
  }

  // What the group has heard since the last call but for the datagrams of no bytes.
  std::vector<std::string> heard() {
    std::vector<std::string> datagrams;
    std::array<char, 100> buffer{};
    while (listener_.poll(Poco::Timespan(0), Poco::Net::Socket::SELECT_READ)) {
      const int length = listener_.receiveBytes(buffer.data(), static_cast<int>(buffer.size()));
      if (length > 0) {
        datagrams.emplace_back(buffer.data(), static_cast<std::size_t>(length));
      }
    }
    return datagrams;
  }

  const std::vector<std::string> kNone;
  const std::vector<std::string> kOne = {heartbeatPacket()};

 private:
  Poco::Net::MulticastSocket listener_;
};

// 1 wait after the first datagram, 9 after as many time-outs, and then that before the heartbeat.
constexpr int kWaitBeforeHeartbeat = 11;

TEST_F(McTaskHeartbeat, LeavesASecondAfterTheTenthTimeout) {
  runQuietly([&](int wait) {
    EXPECT_EQ(heard(), wait == kWaitBeforeHeartbeat + 1 ? kOne : kNone) << wait;
    shared::stopReq = wait > kWaitBeforeHeartbeat;
  });

  EXPECT_EQ(capture.text(), kOpened + kPaused + kEnd);
}

TEST_F(McTaskHeartbeat, AfterADatagramOnlyTheSecondBeforeTheNextOneIsWaited) {
  runQuietly([&](int wait) {
    if (wait == kWaitBeforeHeartbeat + 1) {
      EXPECT_EQ(heard(), kOne);  // which this display hears as well
    }
    shared::stopReq = wait == kWaitBeforeHeartbeat + 3;
  });

  EXPECT_EQ(heard(), kOne) << "between the two waits after the first one";
}

TEST_F(McTaskHeartbeat, IsHeldBackByAPauseThatComesInTheSecondBeforeIt) {
  runQuietly([](int wait) {
    shared::mcPauseReq = wait >= kWaitBeforeHeartbeat;
    shared::stopReq = shared::mcPaused.load();
  });

  EXPECT_EQ(heard(), kNone);
}

TEST_F(McTaskHeartbeat, IsHeldBackByAStopThatComesInTheSecondBeforeIt) {
  runQuietly([](int wait) { shared::stopReq = wait >= kWaitBeforeHeartbeat; });

  EXPECT_EQ(heard(), kNone);
}

TEST_F(McTaskHeartbeat, IsNotPutOffByDatagrams) {
  runQuietly([&](int wait) {
    if (wait == 6) {
      scene.sendToGroup("");
    }
    EXPECT_EQ(heard(), wait == kWaitBeforeHeartbeat + 2 ? kOne : kNone) << wait;
    shared::stopReq = wait > kWaitBeforeHeartbeat + 1;
  });
}

TEST_F(McTaskHeartbeat, TimeoutsBeforeAPauseDoNotCount) {
  constexpr int kWaitWhilePaused = 7;
  runQuietly([&](int wait) {
    shared::mcPauseReq = wait == kWaitWhilePaused - 1;
    EXPECT_EQ(heard(), wait == kWaitWhilePaused + kWaitBeforeHeartbeat + 1 ? kOne : kNone) << wait;
    shared::stopReq = wait > kWaitWhilePaused + kWaitBeforeHeartbeat;
  });

  EXPECT_EQ(capture.text(), kOpened + kPaused + kOpened + kPaused + kEnd);
}

}  // namespace
}  // namespace quendal
