#include "base/shared_state.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

TEST(SharedState, BeginsEmptyAndClear) {
  for (const Flag* flag : {&shared::stopReq, &shared::dataStopReq, &shared::auxStopReq}) {
    EXPECT_FALSE(*flag);
  }
  for (const std::string* text : {&shared::idFilePath, &shared::targetRootDir, &shared::tempDestDir}) {
    EXPECT_EQ(*text, "");
  }
  EXPECT_EQ(shared::ownIdentity(), DisplayIdentity());
}

TEST(SharedState, OwnIdentityIsTheThreeNumbers) {
  shared::groupNo = 1;
  shared::columnNo = 2;
  shared::displayNo = 3;

  EXPECT_EQ(shared::ownIdentity(), (DisplayIdentity{.groupNo = 1, .columnNo = 2, .displayNo = 3}));
}

}  // namespace
}  // namespace quendal
