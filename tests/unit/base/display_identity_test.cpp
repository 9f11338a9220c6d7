#include "base/display_identity.h"

#include <gtest/gtest.h>

#include <vector>

namespace quendal {
namespace {

constexpr DisplayIdentity kOwn{.groupNo = 1, .columnNo = 2, .displayNo = 3};

TEST(IsAddressedTo, AllZeroIsForEveryDisplay) {
  EXPECT_TRUE(isAddressedTo({}, kOwn));
  EXPECT_TRUE(isAddressedTo({}, {}));
}

TEST(IsAddressedTo, EachNumberIsAWildcardOrMustBeEqual) {
  struct Case {
    DisplayIdentity asked;
    bool expected;
  };
  const std::vector<Case> cases = {
      {{.groupNo = 1, .columnNo = 2, .displayNo = 3}, true},
      {{.groupNo = 1, .columnNo = 0, .displayNo = 0}, true},
      {{.groupNo = 0, .columnNo = 2, .displayNo = 0}, true},
      {{.groupNo = 0, .columnNo = 0, .displayNo = 3}, true},
      {{.groupNo = 1, .columnNo = 2, .displayNo = 4}, false},
      {{.groupNo = 1, .columnNo = 3, .displayNo = 3}, false},
      {{.groupNo = 2, .columnNo = 2, .displayNo = 3}, false},
      {{.groupNo = 0, .columnNo = 0, .displayNo = 4}, false},
      {{.groupNo = 0, .columnNo = 1, .displayNo = 0}, false},
      {{.groupNo = 65535, .columnNo = 0, .displayNo = 0}, false},
      {{.groupNo = 3, .columnNo = 2, .displayNo = 1}, false},
  };
  for (const Case& example : cases) {
    EXPECT_EQ(isAddressedTo(example.asked, kOwn), example.expected)
        << example.asked.groupNo << '/' << example.asked.columnNo << '/' << example.asked.displayNo;
  }
}

TEST(IsAddressedTo, DisplayWithoutNumbersIsMeantByWildcardsOnly) {
  EXPECT_FALSE(isAddressedTo({.displayNo = 1}, {}));
}

}  // namespace
}  // namespace quendal
