// McTask on the test's own thread: the script that changes the world runs inside the task's waits.
#pragma once

#include "base/shared_state.h"
#include "multicast/mc_task.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/multicast_scene.h"
#include "support/reply_server.h"

#include <Poco/DateTime.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace quendal {

inline const std::string kTrigger = "\nMcTask: trigger has arrived, init/re-init mc socket...";
inline const std::string kSettings = "\nmttl:1\nmcRxTimeout:1\nmcTxTimeout:1";
inline const std::string kOpened = kTrigger + kSettings + "mc thread resume!\n";
inline const std::string kNotJoined =
    kTrigger + kSettings +
    "\nMcTask: Exception Met!\nException Message:Not found: IPv4 family address not found."
    "mc thread resume!\n";
inline const std::string kNotReceived = "\nMcTask: Exception Met during receive/listen!\nException Info:I/O error: 5";
inline const std::string kJoined = "\nMcTask: multicast group joined";
inline const std::string kPaused = "\nMcTask: triggered to pause, closing sock...\nMcTask paused";
inline const std::string kEnd = "\nMcTask ceased to operate";

class McTaskTest : public testing::Test {
 protected:
  using Step = std::function<bool()>;

  McTaskTest() {
    shared::mcPaused = true;
    shared::mcRstHrFactor = 0;
    fake::setNow(atHour(13));
  }

  static Poco::Timestamp atHour(int hour) { return Poco::DateTime(2024, 5, 17, hour, 10).timestamp(); }

  // The interface has no address to join by.
  static void cutOff() {
    shared::currentInterface = Poco::Net::NetworkInterface(Poco::Net::NetworkInterface::NO_INDEX);
  }

  static Step stop() {
    return [] {
      shared::stopReq = true;
      return true;
    };
  }

  // Runs the task to its end. At each of its waits the next step of the script is called, until it says
  // that it is done. While the socket is open, datagrams of no bytes come in: after each the task waits.
  void run(std::vector<Step> script) {
    std::atomic<bool> ended = false;
    std::thread ticks([&] {
      while (!ended) {
        scene.sendToGroup("");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    });
    std::size_t next = 0;
    fake::onEvent([&](const std::string& event) {
      EXPECT_EQ(event, "wait 1000");
      if (next < script.size() && script[next]()) {
        ++next;
      }
    });
    task.runTask();
    ended = true;
    ticks.join();
    EXPECT_EQ(next, script.size()) << "the script did not come to its end";
  }

  MulticastScene scene;
  ReplyServer server;
  ErrorStreamCapture capture;
  McTask task;
};

}  // namespace quendal
