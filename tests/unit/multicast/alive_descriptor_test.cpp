#include "multicast/alive_descriptor.h"

#include "network/network_state.h"
#include "support/multicast_scene.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quendal {
namespace {

constexpr DisplayIdentity kOwn{.groupNo = 1, .columnNo = 2, .displayNo = 3};

TEST(AliveDescriptorText, NamesGroupColumnUnitAndAddressesLineByLine) {
  EXPECT_EQ(aliveDescriptorText(kOwn, "192.168.0.20", "00:11:22:33:44:55\n"), MulticastScene::kDescriptor);
}

TEST(AliveDescriptorText, WithoutAHardwareAddressTheLastLineIsEmptyAndEndsOnce) {
  EXPECT_EQ(aliveDescriptorText({.groupNo = 10, .columnNo = 0, .displayNo = 65535}, "0.0.0.0", ""),
            "\n[Alive]\ngroupID=10\ncolumnID=0\nunitID=65535\nipv4Addr=0.0.0.0\nphyAddr=\n");
}

TEST(AliveDescriptor, IsWrittenFromTheSharedState) {
  MulticastScene scene;

  writeAliveDescriptor(scene.temporaryPath("descriptor"));

  EXPECT_EQ(readFile(scene.temporaryPath("descriptor")), MulticastScene::kDescriptor);
}

TEST(AliveDescriptor, TakesTheAddressOfTheConfiguredInterface) {
  MulticastScene scene;
  shared::netIfName = "end1";
  scene.folder().writeFile("/sys/class/net/end1/address", "aa:bb:cc:dd:ee:ff\n");

  writeAliveDescriptor(scene.temporaryPath("descriptor"));

  EXPECT_TRUE(readFile(scene.temporaryPath("descriptor")).ends_with("phyAddr=aa:bb:cc:dd:ee:ff\n\n"));
}

TEST(AliveDescriptor, MissingInterfaceIsNoError) {
  MulticastScene scene;
  shared::netIfName = "none0";

  writeAliveDescriptor(scene.temporaryPath("descriptor"));

  EXPECT_TRUE(readFile(scene.temporaryPath("descriptor")).ends_with("phyAddr=\n"));
}

TEST(AliveDescriptor, AddressThatCannotBeReadIsNoError) {
  MulticastScene scene;
  shared::netIfName = "odd0";
  std::filesystem::create_directories(scene.folder().path() + "/sys/class/net/odd0/address");

  writeAliveDescriptor(scene.temporaryPath("descriptor"));

  EXPECT_TRUE(readFile(scene.temporaryPath("descriptor")).ends_with("phyAddr=\n"));
}

TEST(AliveDescriptor, IsNotWrittenThroughAPlantedLink) {
  MulticastScene scene;
  const std::string victim = scene.folder().writeFile("victim", "precious");
  std::filesystem::create_symlink(victim, scene.temporaryPath("descriptor"));

  writeAliveDescriptor(scene.temporaryPath("descriptor"));

  EXPECT_EQ(readFile(victim), "precious");
  EXPECT_EQ(readFile(scene.temporaryPath("descriptor")), MulticastScene::kDescriptor);
}

TEST(AliveDescriptor, WithoutItsFolderNothingIsWritten) {
  MulticastScene scene;

  writeAliveDescriptor(scene.temporaryPath("missing/descriptor"));

  EXPECT_TRUE(scene.temporaryFiles().empty());
}

}  // namespace
}  // namespace quendal
