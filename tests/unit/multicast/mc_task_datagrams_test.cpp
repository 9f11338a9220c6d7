// What McTask does with the datagrams that come in.
#include "base/shared_state.h"
#include "multicast/mc_task.h"
#include "multicast/multicast_state.h"
#include "support/fake_platform.h"
#include "support/packet_builder.h"
#include "support/socket_faults.h"
#include "unit/multicast/mc_task_fixture.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

namespace quendal {
namespace {

TEST_F(McTaskTest, LastDatagramIsHandledAgainAfterEachFailedReceiveOnceASecond) {
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
    faults::failReceives(true);
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
  EXPECT_TRUE(text.ends_with(kPaused + kOpened + again + again + again + kPaused + kEnd)) << text;
}

TEST_F(McTaskTest, AliveRequestIsRepliedToOverTheNetworkAndLeavesNoFile) {
  run({[&] {
         scene.passSeconds(60);
         scene.sendToGroup(aliveRequestWithFile(serverEntry(server.port())));
         return true;
       },
       [&] { return server.hasConnection(); }, stop()});

  EXPECT_TRUE(server.takeReply().ends_with(MulticastScene::kDescriptor));
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

TEST_F(McTaskTest, FileThatCannotBeOpenedIsReportedAndTheAliveCheckRuns) {
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

// The pieces of a file that could be written must not be taken for a request.
TEST_F(McTaskTest, FileThatCannotBeWrittenIsNotReportedAsSuchAndLeavesNothingToRead) {
  const std::string report = "\nExcp met handling chk alive file element\nException Message:File not found";
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit whatFits{900, RLIM_INFINITY};  // also of what is captured of the error stream
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &whatFits), 0);
  run({[&] {
         scene.passSeconds(60);
         scene.sendToGroup(aliveRequestWithFile(serverEntry(server.port()) + std::string(855, ';')));
         return true;
       },
       [&] { return capture.text().find(report) != std::string::npos; }, stop()});

  // Without a server to go to, the reply goes to the group.
  EXPECT_TRUE(capture.text().starts_with(kOpened + report + "\nSend_mcLCDpacket")) << capture.text();
  EXPECT_TRUE(scene.temporaryFiles().empty());
}

}  // namespace
}  // namespace quendal
