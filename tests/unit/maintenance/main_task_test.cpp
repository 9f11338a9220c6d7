// MainTask's start and end, its failures, and the handshake with the network tasks.
#include "base/shared_state.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "transfer/transfer_state.h"
#include "unit/maintenance/main_task_fixture.h"

#include <Poco/Exception.h>
#include <Poco/Net/MulticastSocket.h>
#include <Poco/Net/SocketAddress.h>

namespace quendal {
namespace {

using MainTaskTest = MainTaskFixture;

const std::string kBackOn = "\nNetwork is back ON again!";
const std::string kRemoveLeases = "run sudo rm -Rf /var/lib/dhcpcd/*";

void nothing() {}

TEST(MainTaskStart, ItsConstructorWritesTheStartValues) {
  for (Flag* flag : {&shared::carrierUpSeen, &shared::stopReq, &shared::dataStopReq, &shared::dataReinitReq,
                     &shared::linkUpPrev, &shared::linkUp}) {
    *flag = true;
  }
  const MainTask task;

  for (const Flag* flag : {&shared::carrierUpSeen, &shared::stopReq, &shared::dataStopReq, &shared::dataReinitReq,
                           &shared::linkUpPrev, &shared::linkUp}) {
    EXPECT_FALSE(*flag);
  }
  for (const Flag* flag : {&shared::mcPauseReq, &shared::mcPaused, &shared::dataPauseReq, &shared::dataPaused}) {
    EXPECT_TRUE(*flag);
  }
}

TEST_F(MainTaskTest, StopThatComesBeforeItsStartIsNotWipedOut) {
  shared::stopReq = true;

  task.runTask();

  EXPECT_EQ(trace.entries(), Entries());
  EXPECT_EQ(capture.text(), machineLine());
}

TEST_F(MainTaskTest, StopRightAfterTheWaitEndsItBeforeTheCyclesWork) {
  removeCarrierFile();

  EXPECT_EQ(run({}), Entries());
}

TEST_F(MainTaskTest, CancelledWithItsStopFlagClearItEndsAllTheSame) {
  trace.onEvent([&](const std::string&) { task.cancel(); });

  task.runTask();

  EXPECT_EQ(trace.entries(), Entries({"wait 3000"}));
  EXPECT_FALSE(shared::stopReq);
}

TEST_F(MainTaskTest, StopWithinACycleEndsItWhenTheCycleIsDone) {
  removeCarrierFile();
  trace.onEvent([](const std::string& event) { shared::stopReq = event == "wait 6000"; });

  task.runTask();

  EXPECT_EQ(trace.entries(), Entries({"wait 3000", "post NETW_DN", "wait 6000"}));
}

TEST_F(MainTaskTest, StartRemembersTheAddressOfTheLinkedInterface) {
  setAddress("10.9.9.9");

  run({});

  EXPECT_EQ(shared::currentIpAddress.get(), firstAddressOf(machineChoice().interface));
}

TEST_F(MainTaskTest, NetworkTasksStayPausedUntilTheLinkHasComeUp) {
  const auto unusableAddress = [] {
    shared::linkUp = true;
    setAddress("169.254.0.1");
  };
  const auto noCarrier = [this] { setCarrier("0\n"); };
  const auto noInterface = [this] {
    watch("none0");
    setCarrier("1\n");
  };
  const auto noCarrierFile = [this] { removeCarrierFile(); };

  const Entries entries = run({unusableAddress, noCarrier, noInterface, noCarrierFile});

  EXPECT_EQ(std::count(entries.begin(), entries.end(), "post NETW_DN"), 4);
  EXPECT_TRUE(shared::mcPauseReq);
  EXPECT_TRUE(shared::dataPauseReq);
}

TEST_F(MainTaskTest, FirstLinkUpReleasesTheNetworkTasksAndHandsTheInterfaceOver) {
  EXPECT_EQ(run({linkIsUp}), Entries({"wait 3000", "post NETW_UP"}));

  EXPECT_FALSE(shared::mcPauseReq);
  EXPECT_FALSE(shared::dataPauseReq);
  EXPECT_EQ(shared::currentInterface.displayName(), machineChoice().interface.displayName());
  EXPECT_EQ(shared::currentIpAddress.get(), firstAddressOf(machineChoice().interface));
  EXPECT_EQ(capture.text(), machineLine() + kBackOn + machineLine());
}

TEST_F(MainTaskTest, LinkLossPausesTheMulticastTaskFirstThenClosesItsSocketThenPausesTheDataTask) {
  shared::mcSocket.bind(Poco::Net::SocketAddress("127.0.0.1", static_cast<Poco::UInt16>(0)));
  const auto networkTasks = [polls = 0]() mutable {
    ++polls;
    EXPECT_TRUE(shared::mcPauseReq || polls == 1) << "the wait of six seconds comes before the requests";
    EXPECT_EQ(shared::mcSocket.impl()->initialized(), polls <= 4);
    EXPECT_EQ(shared::dataPauseReq, polls > 4);
    shared::mcPaused = polls >= 4;
    shared::dataPaused = polls >= 6;
  };

  const Entries entries = run({linkIsUp,
                               [this] {
                                 shared::mcPaused = false;
                                 shared::dataPaused = false;
                                 removeCarrierFile();
                               }},
                              networkTasks);

  EXPECT_EQ(entries, Entries({"wait 3000", "post NETW_UP", "wait 3000", "post NETW_DN", "wait 6000", "sleep 100",
                              "sleep 100", "sleep 100", "sleep 100", "sleep 100", kRemoveLeases}));
  EXPECT_TRUE(capture.text().ends_with("[1][1][1]"));
}

TEST_F(MainTaskTest, TasksThatHavePausedAlreadyAreNotWaitedFor) {
  const Entries entries = run({linkIsUp, [this] { removeCarrierFile(); }});

  EXPECT_EQ(entries, Entries({"wait 3000", "post NETW_UP", "wait 3000", "post NETW_DN", "wait 6000", kRemoveLeases}));
  EXPECT_EQ(capture.text().find("[1]"), std::string::npos);
}

TEST_F(MainTaskTest, HandshakeAndLeaseRemovalRunOnlyWhenTheLinkGoesDown) {
  const Entries entries = run({linkIsUp, [this] { removeCarrierFile(); }, nothing, nothing});

  EXPECT_EQ(std::count(entries.begin(), entries.end(), kRemoveLeases), 1);
  EXPECT_EQ(std::count(entries.begin(), entries.end(), "post NETW_DN"), 3);
}

TEST_F(MainTaskTest, LinkThatReturnsReleasesTheNetworkTasksAgain) {
  const Entries entries = run({linkIsUp, [this] { removeCarrierFile(); },
                               [this] {
                                 setCarrier("1");
                                 linkIsUp();
                               }});

  EXPECT_EQ(entries.back(), "post NETW_UP");
  EXPECT_FALSE(shared::mcPauseReq);
  EXPECT_FALSE(shared::dataPauseReq);
}

TEST_F(MainTaskTest, FailureInACycleIsReportedAndTheNextCycleRuns) {
  setCarrier("0");
  const auto fail = [this] {
    if (lastEvent == "run sudo ifconfig lo up") {
      throw Poco::IOException("broken");
    }
  };

  EXPECT_EQ(run({nothing, nothing}, fail),
            Entries({"wait 3000", "run sudo ifconfig lo up", "wait 3000", "run sudo ifconfig lo up"}));

  const std::string report = "\nMainTask: Exception Met!\nException Message:I/O error: broken";
  EXPECT_EQ(capture.text(), machineLine() + report + report);
}

TEST_F(MainTaskTest, LinkLossThatFailsHalfWayIsMadeUpForInTheNextCycle) {
  bool broken = true;
  const auto failOnce = [&] {
    if (broken && lastEvent == kRemoveLeases) {
      broken = false;
      throw Poco::IOException("broken");
    }
  };

  const Entries entries = run({linkIsUp, [this] { removeCarrierFile(); }, nothing}, failOnce);

  EXPECT_EQ(std::count(entries.begin(), entries.end(), kRemoveLeases), 2);
  EXPECT_FALSE(shared::linkUpPrev);
}

TEST_F(MainTaskTest, LinkThatReturnsAfterAHalfMadeLossReleasesThePausedTask) {
  const auto fail = [this] {
    if (lastEvent == kRemoveLeases) {
      throw Poco::IOException("broken");
    }
  };

  const Entries entries = run({linkIsUp, [this] { removeCarrierFile(); },
                               [this] {
                                 setCarrier("1");
                                 linkIsUp();
                               }},
                              fail);

  EXPECT_EQ(entries.back(), "post NETW_UP");
  EXPECT_FALSE(shared::mcPauseReq);
  EXPECT_FALSE(shared::dataPauseReq);
}

}  // namespace
}  // namespace quendal
