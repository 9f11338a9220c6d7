// Which alive requests are replied to, how often, and with what.
#include "multicast/multicast_state.h"
#include "support/loopback.h"
#include "unit/multicast/alive_check_fixture.h"

#include <Poco/DateTime.h>
#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace quendal {
namespace {

TEST_F(AliveCheck, RequestWithoutAFileIsRepliedToThreeTimesByMulticast) {
  shared::mcReplyByTcp = true;  // as "McastReplyByTCP" may have it: the request decides

  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
  EXPECT_FALSE(shared::mcReplyByTcp);
}

TEST_F(AliveCheck, RepliesOnlyToWhatIsAddressedToThisDisplay) {
  struct Case {
    std::uint16_t unit, column, group;
    bool expected;
  };
  for (const Case& example : {Case{0, 0, 0, true}, Case{3, 2, 1, true}, Case{0, 0, 1, true}, Case{4, 2, 1, false},
                              Case{3, 0, 2, false}, Case{1, 2, 3, false}}) {
    scene.passSeconds(60);
    EXPECT_EQ(handle(aliveRequest(example.unit, example.column, example.group)),
              example.expected ? kRepliedToByMulticast : "")
        << example.group << '/' << example.column << '/' << example.unit;
  }
}

TEST_F(AliveCheck, RequestForAnotherDisplayBuildsNoReply) {
  handle(aliveRequestWithFile(serverEntry(server.port()), 4));

  EXPECT_FALSE(server.hasConnection());
  EXPECT_EQ(shared::mcReplyRecord.elementCount, 0);
}

// The descriptor is gone at the end in any case: what tells is that its folder has not changed.
TEST_F(AliveCheck, OnlyARequestForThisDisplayHasTheDescriptorWritten) {
  const std::string folder = scene.temporaryPath("");
  std::filesystem::last_write_time(folder, std::filesystem::last_write_time(folder) - std::chrono::hours(1));
  const auto unchanged = std::filesystem::last_write_time(folder);

  handle(aliveRequest(4, 2, 1));
  EXPECT_EQ(std::filesystem::last_write_time(folder), unchanged);

  handle(aliveRequest(3, 2, 1));
  EXPECT_NE(std::filesystem::last_write_time(folder), unchanged);
}

TEST_F(AliveCheck, AddressOfTheRequestComesBackWildcardsIncluded) {
  handle(aliveRequestWithFile(serverEntry(server.port()), 3));

  EXPECT_EQ(server.takeReply().substr(30, 6), fromHex("03 00 00 00 00 00"));
}

TEST_F(AliveCheck, TwoRequestsThreeSecondsApartGiveOneReply) {
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
  scene.passSeconds(3);
  EXPECT_EQ(handle(aliveRequest()), "");
}

TEST_F(AliveCheck, TwoRequestsSixSecondsApartGiveTwoReplies) {
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
  scene.passSeconds(6);
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
}

TEST_F(AliveCheck, WithinSixSecondsOfTheStartThereIsNoReply) {
  *shared::startDateTime = *shared::startTimestamp + 60 * Poco::Timestamp::resolution();

  EXPECT_EQ(handle(aliveRequest()), "");
}

TEST_F(AliveCheck, ReplyRateIsThatOfAnyOtherTimeAtTheEndOfADayAndOfAYear) {
  for (const Poco::DateTime& end : {Poco::DateTime(2024, 2, 29), Poco::DateTime(2024, 3, 1), Poco::DateTime(2025, 1, 1),
                                    Poco::DateTime(2026, 3, 1)}) {
    scene.setClock(end.timestamp());
    scene.passSeconds(-3);
    EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
    scene.passSeconds(5);
    EXPECT_EQ(handle(aliveRequest()), "");
    scene.passSeconds(1);
    EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
  }
}

TEST_F(AliveCheck, ClockThatIsSetBackSilencesTheDisplayForNoLongerThanSixSeconds) {
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
  scene.passSeconds(-1);
  EXPECT_EQ(handle(aliveRequest()), "");
  scene.passSeconds(-1);
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
  scene.passSeconds(-86400);
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
  scene.passSeconds(5);
  EXPECT_EQ(handle(aliveRequest()), "");
}

TEST_F(AliveCheck, ClockThatIsSetOnFromTheEpochLetsTheReplyOut) {
  scene.setClock(Poco::Timestamp(0));
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
  scene.setClock(Poco::DateTime(2024, 5, 17, 13, 9).timestamp());
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
}

TEST_F(AliveCheck, HeaderAloneAfterARequestIsThatRequestAgainRepliedToByMulticast) {
  handle(aliveRequestWithFile(serverEntry(server.port())));
  scene.passSeconds(6);

  EXPECT_EQ(handle(headerElement(1)), kRepliedToByMulticast);
}

TEST_F(AliveCheck, ShortCommandStatusIsAddressedByTheBytesOfALongerOneBefore) {
  std::string shortRequest = headerElement(2) + commandStatusElement(1, 9);
  shortRequest[26] = shortRequest[27] = 1;  // the command code of an alive request

  handle(aliveRequest(4));
  EXPECT_EQ(handle(shortRequest), "");
  handle(aliveRequest(3));
  scene.passSeconds(6);
  EXPECT_EQ(handle(shortRequest), kRepliedToByMulticast);
}

TEST_F(AliveCheck, WrongSignatureIsRepliedToWithThatSameSignature) {
  std::string request = aliveRequestWithFile(serverEntry(server.port()));
  request.replace(16, 4, "SIGN");

  handle(request);

  EXPECT_EQ(server.takeReply().substr(16, 4), "SIGN");
}

TEST_F(AliveCheck, OtherCommandsCauseNothing) {
  for (const int code : {0, 1, 256, 258, 65535}) {
    std::string request = aliveRequest();
    request[26] = static_cast<char>(code);
    request[27] = static_cast<char>(code >> 8);

    EXPECT_EQ(handle(request), "") << code;
  }
}

TEST_F(AliveCheck, LeftoverDescriptorIsRemovedByWhateverComesNext) {
  shared::mcReplyRecord.filePath = scene.folder().writeFile("tmp/leftover", "old");

  handle(headerElement(2) + commandStatusElement());

  EXPECT_TRUE(scene.temporaryFiles().empty());
  EXPECT_EQ(shared::mcReplyRecord.filePath, "");
}

TEST_F(AliveCheck, LeavesNoFileBehindWhicheverWayItEnds) {
  handle(aliveRequestWithFile(serverEntry(server.port())));
  handle(aliveRequest());
  scene.passSeconds(60);
  handle(aliveRequest());
  scene.passSeconds(60);
  handle(aliveRequestWithFile(serverEntry(ReservedPort().number())));

  EXPECT_TRUE(scene.temporaryFiles().empty());
}

TEST_F(AliveCheck, DescriptorThatCannotBeWrittenSendsNothingAndDoesNotCountAsReply) {
  setenv("TMPDIR", "/nonexistent", 1);
  EXPECT_THROW(handle(aliveRequest()), Poco::FileException);
  EXPECT_EQ(handle(aliveRequestWithFile(serverEntry(server.port()))), "");
  EXPECT_EQ(server.takeReply(), "");

  setenv("TMPDIR", scene.temporaryPath("").c_str(), 1);
  EXPECT_EQ(handle(aliveRequest()), kRepliedToByMulticast);
}

}  // namespace
}  // namespace quendal
