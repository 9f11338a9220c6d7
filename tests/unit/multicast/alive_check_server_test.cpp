// The file of an alive request: where the reply goes, and what becomes of it there.
#include "multicast/multicast_state.h"
#include "support/loopback.h"
#include "unit/multicast/alive_check_fixture.h"

#include <gtest/gtest.h>

#include <string>

namespace quendal {
namespace {

TEST_F(AliveCheck, RequestWithAServerIsRepliedToThereByOnePacketAndAClosedConnection) {
  EXPECT_EQ(handle(aliveRequestWithFile(serverEntry(server.port()))), "");

  EXPECT_EQ(server.takeReply(), expectedReply());
  EXPECT_FALSE(server.hasConnection());
  EXPECT_EQ(shared::dataPortValue, server.port());
  EXPECT_EQ(shared::tcpServerIp, "127.0.0.1");
}

TEST_F(AliveCheck, RequestForAnotherDisplayStillTellsWhereTheServerIs) {
  handle(aliveRequestWithFile(serverEntry(server.port()), 4));

  EXPECT_EQ(shared::dataPortValue, server.port());
}

TEST_F(AliveCheck, ServerThatCannotBeReachedGetsNoReplyAndNoMulticastAndIsTriedAgainAtOnce) {
  const ReservedPort nobody;

  EXPECT_EQ(handle(aliveRequestWithFile(serverEntry(nobody.number()))), "");
  EXPECT_EQ(handle(aliveRequestWithFile(serverEntry(server.port()))), "");

  EXPECT_EQ(server.takeReply(), expectedReply());
}

TEST_F(AliveCheck, ServerNameThatIsNoneGetsNoReply) {
  const std::string tooLongForAName(300, 'x');  // so that no name server is asked
  EXPECT_EQ(handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverPort=1\nTCPserverIP=" + tooLongForAName)),
            "");
}

TEST_F(AliveCheck, OnlyTheLowHalfOfThePortCounts) {
  const std::string port = std::to_string(0x10000 + server.port());

  handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverPort=" + port + "\nTCPserverIP=127.0.0.1\n"));

  EXPECT_EQ(server.takeReply(), expectedReply());
}

TEST_F(AliveCheck, FileWithoutAPortIsRepliedToByMulticast) {
  EXPECT_EQ(handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverIP=127.0.0.1\n")), kRepliedToByMulticast);
  EXPECT_EQ(shared::tcpServerIp, "");
}

TEST_F(AliveCheck, FileWithoutAnAddressStoresThePortReportsAndIsRepliedToByMulticast) {
  EXPECT_EQ(handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverPort=4711\n")),
            "\nExcp met handling chk alive file element\nException Message:Not found: "
            "new_alive_cfgpc_info.TCPserverIP" +
                kRepliedToByMulticast);
  EXPECT_EQ(shared::dataPortValue, 4711U);
}

TEST_F(AliveCheck, PortThatIsNoNumberIsReportedAndRepliedToByMulticast) {
  shared::dataPortValue = 50200;

  EXPECT_EQ(handle(aliveRequestWithFile("[new_alive_cfgpc_info]\nTCPserverPort=web\nTCPserverIP=127.0.0.1\n")),
            "\nExcp met handling chk alive file element\nException Message:Syntax error: Not a valid integer: web" +
                kRepliedToByMulticast);
  EXPECT_EQ(shared::dataPortValue, 50200U);
}

TEST_F(AliveCheck, MissingFileIsReportedAndRepliedToByMulticast) {
  handle(aliveRequest());
  scene.passSeconds(60);
  shared::mcRxRecord.elementCount = 3;
  shared::mcRxRecord.filePath = "/nonexistent/request";
  const std::size_t before = capture.text().size();

  handleMcPacket();

  EXPECT_EQ(capture.text().substr(before),
            "\nExcp met handling chk alive file element\nException Message:File not found: /nonexistent/request" +
                kRepliedToByMulticast);
}

}  // namespace
}  // namespace quendal
