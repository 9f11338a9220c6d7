#include "video/video_state.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

TEST(VideoState, BeginsSwitchedOff) {
  EXPECT_FALSE(shared::videoWatchEnabled);
  EXPECT_FALSE(shared::videoCaptureReopenReq);
  EXPECT_EQ(shared::videoMcAddress, "");
  for (const Counter* counter :
       {&shared::videoPacketCount, &shared::videoPacketsPerSecond, &shared::videoIdleSeconds}) {
    EXPECT_EQ(*counter, 0U);
  }
}

}  // namespace
}  // namespace quendal
