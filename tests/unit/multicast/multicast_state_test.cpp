#include "multicast/multicast_state.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

TEST(MulticastState, ConfigurationBeginsWithItsDefaults) {
  EXPECT_EQ(shared::mcGroupAddress.toString(), "0.0.0.0");
  EXPECT_EQ(shared::mcPort, 0);
  EXPECT_EQ(shared::mcTtl, 1);
  EXPECT_EQ(shared::mcRstHrFactor, 4);
  EXPECT_FALSE(shared::mcReplyByTcp);
  EXPECT_EQ(shared::dataPortValue, 0U);
  EXPECT_EQ(shared::tcpServerIp, "");
}

TEST(MulticastState, BeginsClosedAndEmpty) {
  EXPECT_FALSE(shared::mcPauseReq);
  EXPECT_FALSE(shared::mcPaused);
  EXPECT_EQ(shared::lastRelaunchHour, -1);
  for (const LcdPacketRecord* record : {&shared::mcRxRecord, &shared::mcReplyRecord}) {
    EXPECT_EQ(record->elementCount, 0);
    EXPECT_EQ(record->sigWord, 0U);
    EXPECT_EQ(record->fileName, "");
  }
}

TEST(MulticastState, BuffersHaveTheirCapacities) {
  EXPECT_EQ(shared::mcRxBuffer.size(), 1000U);
  EXPECT_EQ(shared::mcSendBuffer.size(), 4096U);
}

}  // namespace
}  // namespace quendal
