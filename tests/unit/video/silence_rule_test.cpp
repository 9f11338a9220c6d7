#include "video/silence_rule.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace quendal {
namespace {

constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();

// The numbers of the seconds (the first is 1) in which the rule finds silence, for a counter that reads
// 0 at first and `counts` at the end of each second.
std::vector<std::size_t> silentSeconds(const std::vector<std::uint32_t>& counts) {
  std::vector<std::size_t> seconds;
  std::uint32_t previous = 0;
  std::uint32_t idle = 0;
  for (std::size_t index = 0; index < counts.size(); ++index) {
    const StreamSample sample = sampleStream(previous, counts[index], idle);
    if (sample.silent) {
      seconds.push_back(index + 1);
    }
    previous = counts[index];
    idle = sample.idleSeconds;
  }
  return seconds;
}

std::vector<std::uint32_t> countsOf(std::size_t seconds, std::uint32_t count) {
  return std::vector<std::uint32_t>(seconds, count);
}

void append(std::vector<std::uint32_t>& counts, const std::vector<std::uint32_t>& more) {
  counts.insert(counts.end(), more.begin(), more.end());
}

TEST(PacketsSince, IsTheDifferenceOrTheNewCountAfterAWrap) {
  struct Row {
    std::uint32_t previous;
    std::uint32_t count;
    std::uint32_t packets;
  };
  for (const Row& row : std::vector<Row>{{0, 0, 0},
                                         {0, 4750, 4750},
                                         {4750, 4750, 0},
                                         {4750, 4751, 1},
                                         {0, kMost, kMost},
                                         {kMost, kMost, 0},
                                         {kMost - 1, kMost, 1},
                                         {kMost, 0, 0},
                                         {kMost, 1, 1},
                                         {kMost - 1000, 3750, 3750}}) {
    EXPECT_EQ(packetsSince(row.previous, row.count), row.packets) << row.previous << " to " << row.count;
  }
}

TEST(SampleStream, PacketsEndTheIdleTimeWhateverItWas) {
  for (const std::uint32_t idle : {0U, 1U, 29U, 30U, 31U, kMost}) {
    EXPECT_EQ(sampleStream(7, 8, idle), (StreamSample{.packetsPerSecond = 1})) << idle;
    EXPECT_EQ(sampleStream(7, 4757, idle), (StreamSample{.packetsPerSecond = 4750})) << idle;
  }
}

TEST(SampleStream, AnIdleSecondCountsUpToThirtyAndTheNextIsSilence) {
  EXPECT_EQ(sampleStream(7, 7, 0), (StreamSample{.idleSeconds = 1}));
  EXPECT_EQ(sampleStream(7, 7, 29), (StreamSample{.idleSeconds = 30}));
  EXPECT_EQ(sampleStream(7, 7, 30), (StreamSample{.silent = true}));
}

TEST(SampleStream, ASecondInWhichTheCounterWrapsToZeroIsIdle) {
  EXPECT_EQ(sampleStream(kMost, 0, 4), (StreamSample{.idleSeconds = 5}));
}

TEST(SilentSeconds, NoneInThirtySecondsWithoutAPacket) {
  EXPECT_TRUE(silentSeconds(countsOf(30, 0)).empty());
}

TEST(SilentSeconds, TheThirtyFirstAndEveryThirtyFirstAfterIt) {
  EXPECT_EQ(silentSeconds(countsOf(31, 0)), (std::vector<std::size_t>{31}));
  EXPECT_EQ(silentSeconds(countsOf(124, 0)), (std::vector<std::size_t>{31, 62, 93, 124}));
}

TEST(SilentSeconds, AStreamThatStopsCountsFromItsLastPacket) {
  std::vector<std::uint32_t> counts = {4750, 9500, 9501};
  append(counts, countsOf(31, 9501));

  EXPECT_EQ(silentSeconds(counts), (std::vector<std::size_t>{34}));
}

TEST(SilentSeconds, ASinglePacketInTheThirtyFirstSecondPutsItOff) {
  std::vector<std::uint32_t> counts = countsOf(30, 0);
  append(counts, countsOf(31, 1));

  EXPECT_TRUE(silentSeconds(counts).empty());
  counts.push_back(1);
  EXPECT_EQ(silentSeconds(counts), (std::vector<std::size_t>{62}));
}

TEST(SilentSeconds, ACounterThatWrapsIsAStream) {
  std::vector<std::uint32_t> counts = countsOf(1, kMost);
  append(counts, countsOf(30, kMost));
  append(counts, countsOf(31, 12));

  EXPECT_TRUE(silentSeconds(counts).empty());
}

}  // namespace
}  // namespace quendal
