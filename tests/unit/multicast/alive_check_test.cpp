// Which alive requests are answered, how often, and with what.
#include "multicast/multicast_state.h"
#include "support/loopback.h"
#include "unit/multicast/alive_check_fixture.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace quendal {
namespace {

TEST_F(AliveCheck, RequestWithoutAFileIsAnsweredThreeTimesByMulticast) {
  shared::mcReplyByTcp = true;  // as "McastReplyByTCP" may have it: the request decides

  EXPECT_EQ(handle(aliveRequest()), kAnsweredByMulticast);
  EXPECT_FALSE(shared::mcReplyByTcp);
}

TEST_F(AliveCheck, AnswersOnlyWhatIsAddressedToThisDisplay) {
  struct Case {
    std::uint16_t unit, column, group;
    bool expected;
  };
  for (const Case& example : {Case{0, 0, 0, true}, Case{3, 2, 1, true}, Case{0, 0, 1, true}, Case{4, 2, 1, false},
                              Case{3, 0, 2, false}, Case{1, 2, 3, false}}) {
    scene.passSeconds(60);
    EXPECT_EQ(handle(aliveRequest(example.unit, example.column, example.group)),
              example.expected ? kAnsweredByMulticast : "")
        << example.group << '/' << example.column << '/' << example.unit;
  }
}

TEST_F(AliveCheck, RequestForAnotherDisplayBuildsNoAnswer) {
  handle(aliveRequestWithFile(serverEntry(server.port()), 4));

  EXPECT_FALSE(server.hasConnection());
  EXPECT_EQ(shared::mcReplyRecord.elementCount, 0);
}

// The descriptor is gone at the end in any case: what tells is that its folder has not changed.
TEST_F(AliveCheck, OnlyARequestForThisDisplayHasTheDescriptorWritten) {
  const std::string folder = scene.temporaryPath("");
  std::filesystem::last_write_time(folder, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  const auto unchanged = std::filesystem::last_write_time(folder);

  handle(aliveRequest(4, 2, 1));
  EXPECT_EQ(std::filesystem::last_write_time(folder), unchanged);

  handle(aliveRequest(3, 2, 1));
  EXPECT_NE(std::filesystem::last_write_time(folder), unchanged);
}

TEST_F(AliveCheck, AddressOfTheRequestComesBackWildcardsIncluded) {
  handle(aliveRequestWithFile(serverEntry(server.port()), 3));

  EXPECT_EQ(server.takeAnswer().substr(30, 6), fromHex("03 00 00 00 00 00"));
}

TEST_F(AliveCheck, TwoRequestsThreeSecondsApartGiveOneAnswer) {
  EXPECT_EQ(handle(aliveRequest()), kAnsweredByMulticast);
  scene.passSeconds(3);
  EXPECT_EQ(handle(aliveRequest()), "");
}

TEST_F(AliveCheck, TwoRequestsSixSecondsApartGiveTwoAnswers) {
  EXPECT_EQ(handle(aliveRequest()), kAnsweredByMulticast);
  scene.passSeconds(6);
  EXPECT_EQ(handle(aliveRequest()), kAnsweredByMulticast);
}

TEST_F(AliveCheck, WithinSixSecondsOfTheStartThereIsNoAnswer) {
  *shared::startDateTime = *shared::startTimestamp + 60 * Poco::Timestamp::resolution();

  EXPECT_EQ(handle(aliveRequest()), "");
}

TEST_F(AliveCheck, HeaderAloneAfterARequestIsThatRequestAgainAnsweredByMulticast) {
  handle(aliveRequestWithFile(serverEntry(server.port())));
  scene.passSeconds(6);

  EXPECT_EQ(handle(headerElement(1)), kAnsweredByMulticast);
}

TEST_F(AliveCheck, ShortCommandStatusIsAddressedByTheBytesOfALongerOneBefore) {
  std::string shortRequest = headerElement(2) + commandStatusElement(1, 9);
  shortRequest[26] = shortRequest[27] = 1;  // the command code of an alive request

  handle(aliveRequest(4));
  EXPECT_EQ(handle(shortRequest), "");
  handle(aliveRequest(3));
  scene.passSeconds(6);
  EXPECT_EQ(handle(shortRequest), kAnsweredByMulticast);
}

TEST_F(AliveCheck, WrongSignatureIsAnsweredWithThatSameSignature) {
  std::string request = aliveRequestWithFile(serverEntry(server.port()));
  request.replace(16, 4, "SIGN");

  handle(request);

  EXPECT_EQ(server.takeAnswer().substr(16, 4), "SIGN");
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

TEST_F(AliveCheck, DescriptorThatCannotBeWrittenSendsNothingAndDoesNotCountAsAnswer) {
  setenv("TMPDIR", "/nonexistent", 1);
  EXPECT_THROW(handle(aliveRequest()), Poco::FileException);
  EXPECT_EQ(handle(aliveRequestWithFile(serverEntry(server.port()))), "");
  EXPECT_EQ(server.takeAnswer(), "");

  setenv("TMPDIR", scene.temporaryPath("").c_str(), 1);
  EXPECT_EQ(handle(aliveRequest()), kAnsweredByMulticast);
}

}  // namespace
}  // namespace quendal
