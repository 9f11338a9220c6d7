// McTask on the test's own thread: the script that changes the world runs inside the task's waits.
#include "multicast/mc_task.h"

#include "app/shared_state.h"
#include "support/answer_server.h"
#include "support/error_stream_capture.h"
#include "support/eventually.h"
#include "support/fake_platform.h"
#include "support/multicast_scene.h"
#include "support/packet_builder.h"

#include <Poco/DateTime.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace quendal {
namespace {

const std::string kTrigger = "\nMcTask: trigger has arrived, init/re-init mc socket...";
const std::string kSettings = "\nmttl:1\nmcRxTimeout:1\nmcTxTimeout:1";
const std::string kOpened = kTrigger + kSettings + "mc thread resume!\n";
const std::string kNotOpened = kTrigger + kSettings +
                               "\nMcTask: Exception Met!\nException Message:Not found: IPv4 family address not found."
                               "mc thread resume!\n";
const std::string kNotReceived =
    "\nMcTask: Exception Met during receive/listen!\nException Info:Invalid socket: not bound, or not in its group";
const std::string kPaused = "\nMcTask: triggered to pause, closing sock...\nMcTask paused";
const std::string kEnd = "\nMcTask ceased to operate";

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

class McTaskTest : public testing::Test {
 protected:
  using Step = std::function<bool()>;

  McTaskTest() {
    shared::mcPaused = true;
    shared::mcRstHrFactor = 0;
    fake::setNow(atHour(13));
  }

  static Poco::Timestamp atHour(int hour) { return Poco::DateTime(2024, 5, 17, hour, 10).timestamp(); }

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
  AnswerServer server;
  ErrorStreamCapture capture;
  McTask task;
};

TEST_F(McTaskTest, StopBeforeItsStartOpensNothing) {
  shared::stopReq = true;

  run({});

  EXPECT_EQ(capture.text(), kEnd);
  EXPECT_TRUE(shared::mcPaused);
}

TEST_F(McTaskTest, StopWhileWaitingTakesThePausePath) {
  shared::mcPauseReq = true;

  run({[] { return true; }, stop()});

  EXPECT_EQ(capture.text(), kPaused + kEnd);
  EXPECT_EQ(fake::events().size(), 2U);
}

TEST_F(McTaskTest, CancellationEndsItWithTheStopFlagClear) {
  run({[&] {
    task.cancel();
    return true;
  }});

  EXPECT_EQ(capture.text(), kOpened + kPaused + kEnd);
}

TEST_F(McTaskTest, ReleaseOpensTheSocketAndPauseClosesIt) {
  shared::mcPauseReq = true;

  run({[] {
         shared::mcPauseReq = false;
         return true;
       },
       [] {
         EXPECT_FALSE(shared::mcPaused);
         shared::mcPauseReq = true;
         return true;
       },
       [&] {
         EXPECT_TRUE(shared::mcPaused);
         EXPECT_EQ(shared::mcSocket.impl()->sockfd(), POCO_INVALID_SOCKET);
         EXPECT_EQ(capture.text(), kOpened + kPaused);
         shared::mcPauseReq = false;
         return true;
       },
       stop()});

  EXPECT_EQ(capture.text(), kOpened + kPaused + kOpened + kPaused + kEnd);
}

TEST_F(McTaskTest, FailedOpeningIsReportedAndEachReceiveOnceASecond) {
  cutOff();

  run({[] { return true; }, [] { return true; }, stop()});

  EXPECT_EQ(capture.text(), kNotOpened + kNotReceived + kNotReceived + kNotReceived + kPaused + kEnd);
  EXPECT_EQ(fake::events().size(), 3U);
}

TEST_F(McTaskTest, LastDatagramIsHandledAgainAfterAFailedReceiveAndOnceASecond) {
  std::string datagram = headerElement(1);
  datagram.replace(16, 4, "SIGN");
  const std::string report =
      "\nsig Word Bytes:S\tI\tG\tN\t"
      "\nError Network packet format detected::sigWord Code:1313294675,disconnecting...";
  shared::mcPauseReq = true;

  // The socket is opened with the datagram as the only one to come, and then no more.
  std::thread transmitter([&] {
    ASSERT_TRUE(capture.waitFor("mc thread resume!"));
    scene.sendToGroup(datagram);
    ASSERT_TRUE(capture.waitFor(report));
    cutOff();
    shared::mcPauseReq = true;
    scene.sendToGroup(datagram);
  });
  int waits = 0;
  fake::onEvent([&](const std::string&) {
    if (shared::mcPauseReq) {
      shared::mcPauseReq = false;
    } else if (++waits == 3) {
      shared::stopReq = true;
    }
  });
  task.runTask();
  transmitter.join();

  const std::string text = capture.text();
  const std::string again = kNotReceived + report;
  EXPECT_TRUE(text.ends_with(kPaused + kNotOpened + again + again + again + kPaused + kEnd)) << text;
}

TEST_F(McTaskTest, AliveRequestIsAnsweredOverTheNetworkAndLeavesNoFile) {
  run({[&] {
         scene.passSeconds(60);
         scene.sendToGroup(aliveRequestWithFile(serverEntry(server.port())));
         return true;
       },
       [&] { return server.hasConnection(); }, stop()});

  EXPECT_TRUE(server.takeAnswer().ends_with(MulticastScene::kDescriptor));
  EXPECT_TRUE(scene.temporaryFiles().empty());
  EXPECT_EQ(capture.text(), kOpened + kPaused + kEnd);
}

TEST_F(McTaskTest, DatagramThatDoesNotFitGoesNoFurther) {
  std::string datagram = aliveRequestWithFile(serverEntry(server.port()));
  datagram.replace(36 + 10 + 13, 4, fromHex("FF FF FF FF"));  // the length of the file's data
  const std::string report = "\nError Network packet format detected,disconnecting...";
  run({[&] {
         scene.passSeconds(60);
         scene.sendToGroup(datagram);
         return true;
       },
       [&] { return capture.text().find(report) != std::string::npos; }, stop()});

  EXPECT_EQ(capture.text(), kOpened + report + kPaused + kEnd);
  EXPECT_FALSE(server.hasConnection());
  EXPECT_TRUE(scene.temporaryFiles().empty());
}

TEST_F(McTaskTest, FileThatCannotBeSavedIsReportedAndTheAliveCheckRuns) {
  const std::string report =
      "\nfile open failed when saving Rx file element"
      "\nExcp met handling chk alive file element\nException Message:File not found";
  setenv("TMPDIR", "/nonexistent", 1);
  run({[&] {
         scene.passSeconds(60);
         scene.sendToGroup(aliveRequestWithFile(serverEntry(server.port())));
         return true;
       },
       [&] { return capture.text().find(report) != std::string::npos; }, stop()});

  EXPECT_EQ(capture.text(), kOpened + report + kPaused + kEnd);
}

TEST_F(McTaskTest, RelaunchOpensTheSocketAnewOncePerQualifyingHour) {
  const std::string relaunch = "relauching mcast thread at hour:16...";
  shared::mcRstHrFactor = 4;

  run({[] { return true; },
       [] {
         fake::setNow(atHour(15));
         return true;
       },
       [] {
         fake::setNow(atHour(16));
         return true;
       },
       [] { return true; }, [] { return true; }, stop()});

  EXPECT_EQ(capture.text(), kOpened + relaunch + kPaused + kOpened + kPaused + kEnd);
  EXPECT_EQ(shared::lastRelaunchHour, 16);
  EXPECT_EQ(shared::cycleDateTime.hour(), 16);
}

TEST_F(McTaskTest, StartDuringAQualifyingHourRelaunchesRightAfterTheFirstReceive) {
  shared::mcRstHrFactor = 1;

  run({[] { return true; }, stop()});

  EXPECT_EQ(capture.text(), kOpened + "relauching mcast thread at hour:13..." + kPaused + kOpened + kPaused + kEnd);
}

// MainTask closes the socket as soon as the task reports paused, and must never meet it in use: not even
// when its request falls into a relaunch, during which the task is paused for a moment as well.
TEST_F(McTaskTest, SocketStaysUntouchedWhileItIsPausedAlsoInTheMiddleOfRelaunches) {
  shared::mcRstHrFactor = 1;
  cutOff();
  std::atomic<int> hour = 0;
  fake::onEvent([&](const std::string&) { fake::setNow(atHour(++hour % 24)); });
  std::thread mainTask([] {
    for (int cycle = 0; cycle < 300; ++cycle) {
      shared::mcPauseReq = true;
      while (!shared::mcPaused) {
        std::this_thread::yield();
      }
      shared::mcSocket.impl()->close();
      for (int look = 0; look < 20; ++look) {
        ASSERT_EQ(shared::mcSocket.impl()->sockfd(), POCO_INVALID_SOCKET) << cycle;
        std::this_thread::yield();
      }
      shared::mcPauseReq = false;
      ASSERT_TRUE(eventually([] { return !shared::mcPaused; }));
    }
    shared::stopReq = true;
  });

  task.runTask();
  mainTask.join();

  EXPECT_GE(occurrences(capture.text(), "relauching mcast thread"), 1U);
}

}  // namespace
}  // namespace quendal
