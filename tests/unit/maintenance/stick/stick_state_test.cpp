#include "maintenance/stick/stick_state.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

TEST(StickState, BeginsWithoutAStickAndWithTheUsualListFile) {
  EXPECT_EQ(shared::usbSourceListFile, "KVFILE_XFER_INSTRU.spt");
  EXPECT_FALSE(shared::usbDrivePresent);
  EXPECT_FALSE(shared::logDataMode);
}

}  // namespace
}  // namespace quendal
