// Each cycle's decision: is the link up, and what is run and posted on the way.
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "support/hand_made_interface.h"
#include "transfer/transfer_state.h"
#include "unit/maintenance/main_task_fixture.h"

namespace quendal {
namespace {

using LinkVerdict = MainTaskFixture;

void nothing() {}

void noAddress() {
  shared::currentIpAddress.set(Poco::Net::IPAddress());
}

TEST_F(LinkVerdict, WithoutTheCarrierFileTheLinkIsDownInEveryCycle) {
  removeCarrierFile();

  EXPECT_EQ(run({noAddress, nothing}),
            Entries({"wait 3000", "post NETW_DN", "wait 6000", "wait 3000", "post NETW_DN", "wait 6000"}));

  EXPECT_FALSE(shared::linkUp);
  EXPECT_FALSE(shared::carrierUpSeen);
}

TEST_F(LinkVerdict, CarrierFileThatAppearsLaterIsSeen) {
  removeCarrierFile();

  const Entries entries = run({nothing, [this] {
                                 setCarrier("1");
                                 linkIsUp();
                               }});

  EXPECT_EQ(entries, Entries({"wait 3000", "post NETW_DN", "wait 6000", "wait 3000", "post NETW_UP"}));
}

TEST_F(LinkVerdict, MissingInterfaceIsRefreshedAndThenDown) {
  watch("nosuch0");
  setCarrier("1");

  EXPECT_EQ(run({noAddress}), Entries({"wait 3000", "run sudo ifconfig nosuch0 up",
                                       "run sudo dhcpcd -d nosuch0  -t 30 -L", "post NETW_DN", "wait 6000"}));

  EXPECT_FALSE(shared::carrierUpSeen) << "an interface that is not there had no address";
}

TEST_F(LinkVerdict, InterfaceNameIsComparedAsAWhole) {
  watch("l");
  setCarrier("1");

  EXPECT_EQ(run({nothing}).back(), "wait 6000");
}

TEST_F(LinkVerdict, LostCarrierIsRefreshedAndThenDown) {
  setCarrier("0\n");

  EXPECT_EQ(run({nothing}), Entries({"wait 3000", "run sudo ifconfig lo up", "post NETW_DN", "wait 6000"}));
}

TEST_F(LinkVerdict, LostCarrierWithAnAddressStillConfiguredKeepsItMarkedForTheFlush) {
  const Entries cycle = {"wait 3000", "run sudo ifconfig lo up", "run sudo ip addr flush dev eth0", "post NETW_DN",
                         "wait 6000"};

  EXPECT_EQ(run({[this] {
              linkIsUp();
              shared::carrierUpSeen = true;
              setCarrier("0\n");
            }}),
            cycle);

  EXPECT_TRUE(shared::carrierUpSeen);
  EXPECT_FALSE(shared::linkUp);
}

TEST_F(LinkVerdict, UsableAddressOnALinkThatIsUpNeedsNoRefresh) {
  EXPECT_EQ(run({linkIsUp}), Entries({"wait 3000", "post NETW_UP"}));

  EXPECT_TRUE(shared::linkUp);
  EXPECT_TRUE(shared::linkUpPrev);
  EXPECT_TRUE(shared::carrierUpSeen);
}

TEST_F(LinkVerdict, LinkThatStaysUpIsLeftAlone) {
  EXPECT_EQ(run({linkIsUp, linkIsUp, linkIsUp}), Entries({"wait 3000", "post NETW_UP", "wait 3000", "wait 3000"}));
}

TEST_F(LinkVerdict, UnusableAddressIsDownWithoutARefreshThoughTheCarrierIsUp) {
  std::vector<Step> cycles;
  Entries expected;
  for (const char* address : {"169.254.0.1", "0.0.0.0", "127.0.0.1", "fe80::1", "2001:db8::1"}) {
    cycles.emplace_back([address] {
      shared::linkUp = true;
      setAddress(address);
    });
    expected.insert(expected.end(), {"wait 3000", "post NETW_DN", "wait 6000"});
  }

  EXPECT_EQ(run(cycles), expected);

  EXPECT_TRUE(shared::carrierUpSeen) << "the carrier was seen up all the same";
}

TEST_F(LinkVerdict, WithTheLinkDownEveryCycleWithACarrierAsksForTheAddressAgain) {
  const auto goDown = [] { shared::linkUp = false; };
  const Entries entries = run({goDown, goDown});

  EXPECT_EQ(std::count(entries.begin(), entries.end(), "run sudo dhcpcd -d lo  -t 30 -L"), 2);
  EXPECT_TRUE(shared::carrierUpSeen);
}

TEST_F(LinkVerdict, RefreshTakesTheAddressOfTheLinkedInterfaceAndJudgesByIt) {
  const Poco::Net::IPAddress address = firstAddressOf(machineChoice().interface);
  const bool usable = isUsableAddress(address);

  const Entries entries = run({[] { setAddress("10.9.9.9"); }});

  Entries expected = {"wait 3000", "run sudo ifconfig lo up", "run sudo dhcpcd -d lo  -t 30 -L"};
  if (usable) {
    expected.emplace_back("post NETW_UP");
  } else {
    expected.insert(expected.end(), {"post NETW_DN", "wait 6000"});
  }
  EXPECT_EQ(entries, expected);
  EXPECT_EQ(shared::currentIpAddress.get(), address);
  EXPECT_EQ(shared::linkUp, usable);
}

TEST_F(LinkVerdict, InterfaceThatComesWithTheRefreshIsMarkedAndJudgedByItsAddress) {
  watch("nosuch0");
  setCarrier("1");

  run({[] { setAddress("127.0.0.1"); }}, [this] {
    if (lastEvent.starts_with("run sudo dhcpcd")) {
      watch("lo");
    }
  });

  EXPECT_TRUE(shared::carrierUpSeen);
  EXPECT_EQ(shared::currentIpAddress.get(), firstAddressOf(machineChoice().interface));
}

TEST_F(LinkVerdict, CarrierLostDuringTheRefreshIsDown) {
  const Entries entries = run({nothing}, [this] {
    if (lastEvent.starts_with("run sudo dhcpcd")) {
      setCarrier("0\n");
    }
  });

  EXPECT_EQ(entries.back(), "wait 6000");
  EXPECT_FALSE(shared::linkUp);
}

TEST_F(LinkVerdict, InterfaceThatWasReplacedWithinACycleIsRefreshedThoughTheLinkIsUp) {
  const Entries cycle = {"wait 3000", "run sudo ifconfig lo up", "run sudo dhcpcd -d lo  -t 30 -L"};

  Entries entries = run({[this] {
    linkIsUp();
    setIndex(interfaceIndexOf("lo") + 1);
  }});

  entries.resize(cycle.size());
  EXPECT_EQ(entries, cycle);
}

TEST_F(LinkVerdict, InterfaceThatIsStillTheSameIsLeftAlone) {
  setIndex(interfaceIndexOf("lo"));

  EXPECT_EQ(run({linkIsUp, linkIsUp}), Entries({"wait 3000", "post NETW_UP", "wait 3000"}));
}

TEST_F(LinkVerdict, StaticAddressIsAppliedByTheRefresh) {
  shared::staticIpMode = true;
  shared::staticIp = "192.168.0.10";
  shared::staticNetmask = "255.255.255.0";
  shared::staticGateway = "192.168.0.1";

  Entries entries = run({nothing});

  entries.resize(6);
  EXPECT_EQ(entries, Entries({"wait 3000", "run sudo ifconfig lo up",
                              "run sudo ifconfig lo 192.168.0.10 netmask 255.255.255.0 up", "sleep 2000",
                              "run sudo route add default gw 192.168.0.1", "sleep 3000"}));
}

// The machine's own eth0 stands for the interface as it is now; on a machine without one there is nothing to
// follow.
class FollowedInterface : public MainTaskFixture {
 protected:
  // Up since a former cycle, with McTask at work on what eth0 was then.
  static void useOldInterface() {
    linkIsUp();
    shared::linkUpPrev = true;
    shared::currentInterface = HandMadeInterface("eth0", {"192.168.1.20"});
    shared::mcPauseReq = false;
    shared::mcPaused = false;
    shared::dataPauseReq = false;
  }

  const Poco::Net::NetworkInterface eth0 = machineChoice().interface;
  const bool isThere = isUsableAddress(firstAddressOf(eth0));
  const Poco::Net::IPAddress expected = isThere ? firstAddressOf(eth0) : Poco::Net::IPAddress("192.168.1.20");
};

TEST_F(FollowedInterface, IsHandedOverWhileTheMulticastTaskIsPausedWithoutAnEvent) {
  int polls = 0;

  const Entries entries = run({useOldInterface}, [&] {
    EXPECT_TRUE(shared::mcPauseReq);
    EXPECT_EQ(firstAddressOf(shared::currentInterface).toString(), "192.168.1.20");
    EXPECT_EQ(shared::currentIpAddress.get(), expected) << "told at once";
    shared::mcPaused = ++polls == 3;
  });

  EXPECT_EQ(entries, isThere ? Entries({"wait 3000", "sleep 100", "sleep 100", "sleep 100"}) : Entries({"wait 3000"}));
  EXPECT_EQ(firstAddressOf(shared::currentInterface), expected);
  EXPECT_FALSE(shared::mcPauseReq);
  EXPECT_FALSE(shared::dataPauseReq);
  EXPECT_EQ(capture.text(),
            machineLine() + (isThere ? "\nNetwork address has changed, eth0:" + expected.toString() : ""));
}

TEST_F(FollowedInterface, IsLeftAloneOnceItIsFollowed) {
  const auto pauseAtOnce = [] { shared::mcPaused = true; };

  const Entries entries = run({useOldInterface, [] {}, [] {}}, pauseAtOnce);

  EXPECT_EQ(std::count(entries.begin(), entries.end(), "sleep 100"), isThere ? 1 : 0);
  EXPECT_EQ(std::count(entries.begin(), entries.end(), "wait 3000"), 3);
}

TEST(HasMoved, ToAnotherAddressOrAnotherInterfaceButOnlyToAUsableOne) {
  const HandMadeInterface used("eth0", {"192.168.1.20"}, 2);
  const Poco::Net::NetworkInterface none(Poco::Net::NetworkInterface::NO_INDEX);

  EXPECT_FALSE(hasMoved(used, used));
  EXPECT_TRUE(hasMoved(used, HandMadeInterface("eth0", {"192.168.1.21"}, 2)));
  EXPECT_TRUE(hasMoved(used, HandMadeInterface("eth0", {"192.168.1.20"}, 3)));
  EXPECT_TRUE(hasMoved(none, used));
  EXPECT_FALSE(hasMoved(used, none)) << "the lease is away";
  for (const char* address : {"169.254.0.1", "0.0.0.0", "127.0.0.1", "fe80::1", "2001:db8::1"}) {
    EXPECT_FALSE(hasMoved(used, HandMadeInterface("eth0", {address}, 3))) << address;
  }
}

}  // namespace
}  // namespace quendal
