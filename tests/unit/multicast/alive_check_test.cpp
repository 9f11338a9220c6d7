#include "multicast/alive_check.h"

#include "app/shared_state.h"
#include "multicast/datagram.h"
#include "support/answer_server.h"
#include "support/error_stream_capture.h"
#include "support/loopback.h"
#include "support/multicast_scene.h"
#include "support/packet_builder.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>

namespace quendal {
namespace {

const std::string kMulticastFailure =
    "\nSend_mcLCDpacket w/o file: Exception Met sending 3-elem mcast!\nException Message:Invalid argument";
// An answer by multicast never leaves: its three failures are what can be seen of it.
const std::string kAnsweredByMulticast = kMulticastFailure + kMulticastFailure + kMulticastFailure;

class AliveCheck : public testing::Test {
 protected:
  // Has `datagram` handled as McTask does; returns what was written meanwhile.
  std::string handle(const std::string& datagram) {
    std::array<std::byte, 1000> buffer{};
    std::ranges::copy(asBytes(datagram), buffer.begin());
    const DatagramContent content = unpackDatagram(buffer, shared::mcRxRecord);
    shared::mcRxRecord.filePath.clear();
    if (content.fileData) {
      shared::mcRxRecord.filePath = scene.temporaryPath("request");
      const std::string data(reinterpret_cast<const char*>(content.fileData->data()), content.fileData->size());
      scene.folder().writeFile("tmp/request", data);
    }
    const std::size_t before = capture.text().size();
    handleMcPacket();
    std::filesystem::remove(scene.temporaryPath("request"));
    return capture.text().substr(before);
  }

  std::string expectedAnswer() const {
    const std::string descriptor = MulticastScene::kDescriptor;
    return fromHex(
               "14 00 00 00 5C C5 03 00 44 33 22 11 88 77 66 55 E8 8E A5 A5"
               "10 00 00 00 01 00 02 01 01 00 00 00 00 00 00 00") +
           fileElement("KV_ALIVE_DESC.spt", descriptor);
  }

  MulticastScene scene;
  AnswerServer server;
  ErrorStreamCapture capture;
};

TEST_F(AliveCheck, RequestWithAServerIsAnsweredThereByOnePacketAndAClosedConnection) {
  EXPECT_EQ(handle(aliveRequestWithFile(serverEntry(server.port()))), "");

  EXPECT_EQ(server.takeAnswer(), expectedAnswer());
  EXPECT_FALSE(server.hasConnection());
  EXPECT_EQ(shared::dataPortValue, server.port());
  EXPECT_EQ(shared::tcpServerIp, "127.0.0.1");
}

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

TEST_F(AliveCheck, RequestForAnotherDisplayStillTellsWhereTheServerIs) {
  handle(aliveRequestWithFile(serverEntry(server.port()), 4));

  EXPECT_EQ(shared::dataPortValue, server.port());
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

TEST_F(AliveCheck, ServerThatCannotBeReachedGetsNoAnswerAndNoMulticastAndIsTriedAgainAtOnce) {
  const ReservedPort nobody;

  EXPECT_EQ(handle(aliveRequestWithFile(serverEntry(nobody.number()))), "");
  EXPECT_EQ(handle(aliveRequestWithFile(serverEntry(server.port()))), "");

  EXPECT_EQ(server.takeAnswer(), expectedAnswer());
}

TEST_F(AliveCheck, ServerNameThatIsNoneGetsNoAnswer) {
  const std::string tooLongForAName(300, 'x');  // so that no name server is asked
  EXPECT_EQ(handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverPort=1\nTCPserverIP=" + tooLongForAName)),
            "");
}

TEST_F(AliveCheck, OnlyTheLowHalfOfThePortCounts) {
  const std::string port = std::to_string(0x10000 + server.port());

  handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverPort=" + port + "\nTCPserverIP=127.0.0.1\n"));

  EXPECT_EQ(server.takeAnswer(), expectedAnswer());
}

TEST_F(AliveCheck, FileWithoutAPortIsAnsweredByMulticast) {
  EXPECT_EQ(handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverIP=127.0.0.1\n")), kAnsweredByMulticast);
  EXPECT_EQ(shared::tcpServerIp, "");
}

TEST_F(AliveCheck, FileWithoutAnAddressStoresThePortReportsAndIsAnsweredByMulticast) {
  EXPECT_EQ(handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverPort=4711\n")),
            "\nExcp met handling chk alive file element\nException Message:Not found: "
            "new_alive_cfgpc_info.TCPserverIP" +
                kAnsweredByMulticast);
  EXPECT_EQ(shared::dataPortValue, 4711U);
}

TEST_F(AliveCheck, PortThatIsNoNumberIsReportedAndAnsweredByMulticast) {
  shared::dataPortValue = 50200;

  EXPECT_EQ(handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverPort=web\nTCPserverIP=127.0.0.1\n")),
            "\nExcp met handling chk alive file element\nException Message:Syntax error: Not a valid integer: web" +
                kAnsweredByMulticast);
  EXPECT_EQ(shared::dataPortValue, 50200U);
}

TEST_F(AliveCheck, MissingFileIsReportedAndAnsweredByMulticast) {
  handle(aliveRequest());
  scene.passSeconds(60);
  shared::mcRxRecord.elementCount = 3;
  shared::mcRxRecord.filePath = "/nonexistent/request";
  const std::size_t before = capture.text().size();

  handleMcPacket();

  EXPECT_EQ(capture.text().substr(before),
            "\nExcp met handling chk alive file element\nException Message:File not found: /nonexistent/request" +
                kAnsweredByMulticast);
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
