#include "transfer/transfer_state.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quendal {
namespace {

TEST(TransferState, BeginsClosedAndEmpty) {
  EXPECT_EQ(shared::dataPort, 0);
  for (const Flag* flag : {&shared::dataReinitReq, &shared::dataPauseReq, &shared::dataPaused, &shared::dontCareMode}) {
    EXPECT_FALSE(*flag);
  }
  for (const LcdPacketRecord* record : {&shared::dataRxRecord, &shared::spareRecord}) {
    EXPECT_EQ(record->elementCount, 0);
    EXPECT_EQ(record->sigWord, 0U);
    EXPECT_EQ(record->fileName, "");
    EXPECT_TRUE(std::all_of(record->rawHeader.begin(), record->rawHeader.end(),
                            [](std::byte byte) { return byte == std::byte{0}; }));
  }
}

TEST(TransferState, RecordAndBufferHaveTheirCapacities) {
  EXPECT_EQ(shared::fileChunkBuffer.size(), 1024U);
  EXPECT_EQ(shared::dataRxRecord.rawHeader.size(), 1026U);
  EXPECT_EQ(shared::dataRxRecord.rawCommandStatus.size(), 1024U);
  EXPECT_EQ(shared::dataRxRecord.fileNameBuffer.size(), 1024U);
}

}  // namespace
}  // namespace quendal
