#include "network/carrier.h"

#include "support/fake_platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace quendal {
namespace {

constexpr const char* kPath = "/sys/class/net/eth0/carrier";

class Carrier : public testing::Test {
 protected:
  Carrier() { fake::setSystemRoot(root.path()); }

  TemporaryFolder root;
  std::array<char, 5> buffer{'l', 'e', 'f', 't', '\0'};
};

TEST_F(Carrier, OnlyALeadingZeroIsDown) {
  const std::vector<std::pair<std::string, bool>> table = {{"1\n", true}, {"0\n", false}, {"0", false}, {"01", false},
                                                           {" 0", true},  {"x", true},    {"\n0", true}};

  for (const auto& [content, up] : table) {
    root.writeFile(kPath, content);
    EXPECT_EQ(isCarrierUp(kPath, buffer), up) << content;
  }
}

TEST_F(Carrier, EmptyFileIsUpWhateverTheBufferHeld) {
  root.writeFile(kPath, "");
  buffer = {'0', '\n', '\0', '\0', '\0'};

  EXPECT_TRUE(isCarrierUp(kPath, buffer));
  EXPECT_EQ(std::string(buffer.data()), "");
}

TEST_F(Carrier, FileThatCannotBeOpenedIsDown) {
  EXPECT_FALSE(isCarrierUp(kPath, buffer));
  EXPECT_EQ(std::string(buffer.data()), "");
}

TEST_F(Carrier, FileThatOpensAndRefusesToBeReadIsUp) {
  // As the kernel's own file does while the interface is administratively down; a directory opens and
  // refuses likewise.
  root.writeFile(std::string(kPath) + "/inside", "");

  EXPECT_TRUE(isCarrierUp(kPath, buffer));
}

TEST_F(Carrier, ReadsFourCharactersAtMost) {
  root.writeFile(kPath, "123456\n");

  isCarrierUp(kPath, buffer);

  EXPECT_EQ(std::string(buffer.data()), "1234");
}

}  // namespace
}  // namespace quendal
