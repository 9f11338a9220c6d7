#include "transfer/packet/byte_order.h"

#include "support/packet_builder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>

namespace quendal {
namespace {

TEST(ByteOrder, ReadsTheLeastSignificantByteFirst) {
  const std::string bytes = fromHex("FF E8 8E A5 A5 80");

  EXPECT_EQ(readU16(asBytes(bytes), 1), 0x8EE8);
  EXPECT_EQ(readU32(asBytes(bytes), 1), 0xA5A58EE8U);
  EXPECT_EQ(readU32(asBytes(bytes), 2), 0x80A5A58EU);
}

TEST(ByteOrder, WritesWhatItReadsAndNothingBeside) {
  std::array<std::byte, 8> bytes{};

  writeU16(bytes, 1, 0xFFFE);
  writeU32(bytes, 3, 0x80000001);

  EXPECT_EQ(readU16(bytes, 1), 0xFFFE);
  EXPECT_EQ(readU32(bytes, 3), 0x80000001U);
  EXPECT_EQ(bytes.front(), std::byte{0});
  EXPECT_EQ(bytes.back(), std::byte{0});
}

TEST(ByteOrder, ExtremesSurviveTheRoundTrip) {
  std::array<std::byte, 4> bytes{};

  for (const std::uint32_t value : {0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    writeU32(bytes, 0, value);
    EXPECT_EQ(readU32(bytes, 0), value);
  }
}

}  // namespace
}  // namespace quendal
