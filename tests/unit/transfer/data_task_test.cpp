// DataTask on the test's own thread: the script that changes the world runs inside the task's waits.
#include "transfer/data_task.h"

#include "base/shared_state.h"
#include "support/error_stream_capture.h"
#include "support/eventually.h"
#include "support/fake_platform.h"
#include "support/loopback.h"
#include "support/no_threads.h"
#include "support/packet_builder.h"
#include "support/transfer_folder.h"
#include "transfer/transfer_state.h"

#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quendal {
namespace {

using Poco::Net::StreamSocket;

const std::string kStart = "\nDataTask starting up";
const std::string kWaiting = "\nDataTask waiting for trigger to open sock...";
const std::string kOpen = "\nDataTask: init data socket...\ndata sock OK!";
const std::string kClosing = "\ndata sock Paused!";
const std::string kPaused = "\nDataTask: triggered to pause, closing sock...\nDataTask paused";
const std::string kEnd = "\nDataTask ceased to operate";

class DataTaskTest : public testing::Test {
 protected:
  DataTaskTest() {
    shared::dataPort = port.number();
    shared::dataPaused = true;
    shared::dataPauseReq = false;
  }

  // Runs the task to its end. At its n-th wait, which must be one of `wait` milliseconds, script[n] is called.
  void run(const std::string& wait, std::vector<std::function<void()>> script) {
    std::size_t next = 0;
    fake::onEvent([&, wait](const std::string& event) {
      if (event != "wait " + wait || next == script.size()) {
        ADD_FAILURE() << "not in the script: " << event;
        task.cancel();
        return;
      }
      script[next++]();
    });
    task.runTask();
    EXPECT_EQ(next, script.size()) << "the script did not come to its end";
  }

  StreamSocket connect() const { return StreamSocket(Poco::Net::SocketAddress("127.0.0.1", port.number())); }

  bool isPortClosed() const {
    try {
      connect();
      return false;
    } catch (const Poco::Exception&) {
      return true;
    }
  }

  static void stop() { shared::dataStopReq = true; }

  ReservedPort port;
  ErrorStreamCapture capture;
  DataTask task;
};

TEST_F(DataTaskTest, StopBeforeItsStartOpensNothing) {
  stop();

  run("500", {});

  EXPECT_EQ(capture.text(), kStart + kEnd);
  EXPECT_EQ(fake::events(), std::vector<std::string>());
}

TEST_F(DataTaskTest, PausedAtItsStartItWritesTheWaitingLineOnceAndOpensNothing) {
  shared::dataPauseReq = true;
  const auto expectClosed = [&] {
    EXPECT_TRUE(isPortClosed());
    EXPECT_TRUE(shared::dataPaused);
    EXPECT_EQ(capture.text(), kStart + kWaiting);
  };

  run("1000", {expectClosed, expectClosed, [&] {
                 expectClosed();
                 stop();
               }});

  EXPECT_EQ(capture.text(), kStart + kWaiting + kPaused + kEnd);
}

TEST_F(DataTaskTest, ReleasedItOpensThePortAndSaysSo) {
  shared::dataPauseReq = true;
  fake::onEvent([&](const std::string& event) {
    if (event == "wait 1000") {
      shared::dataPauseReq = false;
    } else {
      EXPECT_FALSE(shared::dataPaused);
      EXPECT_FALSE(isPortClosed());
      stop();
    }
  });

  task.runTask();

  EXPECT_TRUE(capture.text().starts_with(kStart + kWaiting + kOpen)) << capture.text();
  EXPECT_TRUE(capture.text().ends_with(kPaused + kEnd));
  EXPECT_TRUE(shared::dataPaused);
  EXPECT_TRUE(isPortClosed());
}

TEST_F(DataTaskTest, StopWhileOpenClosesThePortAndEnds) {
  run("500", {stop});

  EXPECT_EQ(capture.text(), kStart + kWaiting + kOpen + kClosing + kPaused + kEnd);
}

TEST_F(DataTaskTest, ReInitialisationClosesAndReOpensAndDropsTheOthers) {
  StreamSocket other;
  run("500", {[&] {
                other = connect();
                ASSERT_TRUE(capture.waitFor("Connection from " + other.address().toString()));
                shared::dataReinitReq = true;
              },
              [&] {
                EXPECT_FALSE(shared::dataReinitReq);
                EXPECT_TRUE(isClosedByPeer(other));
                EXPECT_FALSE(isPortClosed());
                stop();
              }});

  const std::string connection = other.address().toString() + "\n";
  EXPECT_TRUE(capture.text().starts_with(kStart + kWaiting + kOpen + "Connection from " + connection + kClosing +
                                         "Disconnecting " + connection + kPaused + kWaiting + kOpen))
      << capture.text();
}

TEST_F(DataTaskTest, FailedConnectionHasTheServiceReOpenedAndTheNextTransferArrives) {
  const TransferFolder folder;
  StreamSocket bad;
  StreamSocket good;
  run("500", {[&] {
                bad = connect();
                sendAll(bad, std::string(20, 'x'));
                ASSERT_TRUE(eventually([] { return shared::dataReinitReq.load(); }));
              },
              [&] {
                good = connect();
                sendAll(good, filePacket("name", "data"));
                EXPECT_TRUE(eventually([&] { return readFile(folder.target("name")) == "data"; }));
                stop();
              }});

  EXPECT_NE(capture.text().find("\nData TCP port read err, Err RC:516" + kClosing), std::string::npos);
}

TEST_F(DataTaskTest, PauseClosesEveryConnectionAndStaysClosedUntilItsRelease) {
  std::vector<StreamSocket> connections;
  const auto open = [&] {
    for (int count = 0; count < 3; ++count) {
      connections.push_back(connect());
      ASSERT_TRUE(capture.waitFor("Connection from " + connections.back().address().toString()));
    }
    shared::dataPauseReq = true;
  };
  int closedWaits = 0;
  fake::onEvent([&](const std::string& event) {
    if (event == "wait 500") {
      open();
      return;
    }
    EXPECT_TRUE(shared::dataPaused);
    EXPECT_TRUE(isPortClosed());
    if (++closedWaits == 3) {
      stop();
    }
  });

  task.runTask();

  for (StreamSocket& connection : connections) {
    EXPECT_TRUE(isClosedByPeer(connection));
  }
}

TEST_F(DataTaskTest, CancelledWithItsStopFlagClearItEndsAllTheSame) {
  run("500", {[&] { task.cancel(); }});

  EXPECT_EQ(capture.text(), kStart + kWaiting + kOpen + kClosing + kPaused + kEnd);
  EXPECT_FALSE(shared::dataStopReq);
}

TEST_F(DataTaskTest, CancelledWhilePausedItEnds) {
  shared::dataPauseReq = true;

  run("1000", {[&] { task.cancel(); }});

  EXPECT_EQ(capture.text(), kStart + kWaiting + kPaused + kEnd);
}

TEST_F(DataTaskTest, PortOfAnotherServiceIsReportedAndTriedAgainAfterTenSeconds) {
  // That one even lets its port be shared; this service does not share.
  auto taken = std::make_unique<Poco::Net::ServerSocket>();
  taken->bind(Poco::Net::SocketAddress(Poco::Net::IPAddress(), port.number()), true, true);
  taken->listen(1);
  fake::onEvent([&](const std::string& event) {
    if (event == "wait 10000") {
      taken.reset();
    } else {
      EXPECT_FALSE(isPortClosed());
      stop();
    }
  });

  task.runTask();

  const std::string failure =
      "\nDataTask: init data socket...\nDataTask: Exception Met!\nException Message:Net Exception: Address already in "
      "use: 0.0.0.0:" +
      std::to_string(port.number());
  EXPECT_TRUE(capture.text().starts_with(kStart + kWaiting + failure + kPaused + kWaiting + kOpen)) << capture.text();
}

TEST_F(DataTaskTest, ReactorWhoseThreadCannotBeStartedIsTriedAgainAfterTenSeconds) {
  auto noThreads = std::make_unique<NoThreads>();
  fake::onEvent([&](const std::string& event) { event == "wait 10000" ? noThreads.reset() : stop(); });

  task.runTask();

  const std::string failure = "\nDataTask: Exception Met!\nException Message:System exception: cannot start thread";
  EXPECT_TRUE(capture.text().starts_with(kStart + kWaiting + kOpen + failure + kPaused + kWaiting + kOpen))
      << capture.text();
}

}  // namespace
}  // namespace quendal
