#include "video/video_source.h"

#include "support/error_stream_capture.h"
#include "video/video_state.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

TEST(MulticastGroup, IsAnIPv4MulticastAddressInPlainDecimal) {
  for (const char* text : {"224.0.0.0", "224.0.0.1", "239.255.77.2", "239.255.255.255"}) {
    EXPECT_TRUE(isMulticastGroup(text)) << text;
  }
}

TEST(MulticastGroup, IsNoOtherAddress) {
  for (const char* text : {"223.255.255.255", "240.0.0.0", "192.168.77.10", "0.0.0.0", "255.255.255.255", "ff02::1"}) {
    EXPECT_FALSE(isMulticastGroup(text)) << text;
  }
}

TEST(MulticastGroup, IsNoOtherWayToWriteOne) {
  for (const char* text : {"", " ", "239", "239.1", "239.255.77", "239.255.77.256", "239.255.77.2.1", "0xEF.255.77.2",
                           "0357.1.2.3", "239.001.2.3", "239.255.77.2:5000", "239.255.77.2 ", " 239.255.77.2",
                           "239.255.77.2 or host 1.2.3.4", "239.255.77.2)", "stream.example", "4026482946"}) {
    EXPECT_FALSE(isMulticastGroup(text)) << text;
  }
}

TEST(WatchVideoStream, StoresTheGroupAndRaisesBothFlagsInSilence) {
  const ErrorStreamCapture errors;

  watchVideoStream("239.255.77.2");

  EXPECT_EQ(shared::videoMcAddress, "239.255.77.2");
  EXPECT_TRUE(shared::videoCaptureReopenReq);
  EXPECT_TRUE(shared::videoWatchEnabled);
  EXPECT_EQ(errors.text(), "");
}

TEST(WatchVideoStream, ReportsAnythingElseInOneLineAndLeavesTheWatchOff) {
  const ErrorStreamCapture errors;

  watchVideoStream("192.168.77.10");

  EXPECT_EQ(shared::videoMcAddress, "");
  EXPECT_FALSE(shared::videoCaptureReopenReq);
  EXPECT_FALSE(shared::videoWatchEnabled);
  EXPECT_EQ(errors.text(), "\nvideoMcIp in ini is not an IPv4 multicast address, video watch stays off:192.168.77.10");
}

TEST(WatchVideoStream, ReportsAnEmptyValueToo) {
  const ErrorStreamCapture errors;

  watchVideoStream("");

  EXPECT_FALSE(shared::videoWatchEnabled);
  EXPECT_EQ(errors.text(), "\nvideoMcIp in ini is not an IPv4 multicast address, video watch stays off:");
}

}  // namespace
}  // namespace quendal
