#include "network/network_commands.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

const std::vector<std::string> kInjections = {
    "", "eth0;reboot", "eth0 && reboot", "$(reboot)", "`reboot`", "eth0\nreboot", "'", "\"", "eth0 #", "../x"};

void expectRefused(const NetworkCommand& command, const std::string& what, const std::string& value) {
  EXPECT_EQ(command.text, "");
  EXPECT_EQ(command.refusal, "Command not run, bad " + what + ":[" + value + "]");
}

TEST(NetworkCommands, AddressCommandNamesInterfaceAddressAndMask) {
  const NetworkCommand command = composeAddressCommand("eth0", "192.168.0.10", "255.255.255.0");

  EXPECT_EQ(command.text, "sudo ifconfig eth0 192.168.0.10 netmask 255.255.255.0 up");
  EXPECT_EQ(command.refusal, "");
}

TEST(NetworkCommands, GatewayCommandNamesTheGateway) {
  const NetworkCommand command = composeGatewayCommand("192.168.0.1");

  EXPECT_EQ(command.text, "sudo route add default gw 192.168.0.1");
  EXPECT_EQ(command.refusal, "");
}

TEST(NetworkCommands, InterfaceUpCommandNamesTheInterface) {
  const NetworkCommand command = composeInterfaceUpCommand("enp3s0");

  EXPECT_EQ(command.text, "sudo ifconfig enp3s0 up");
  EXPECT_EQ(command.refusal, "");
}

TEST(NetworkCommands, DhcpCommandHasTwoBlanksBeforeItsTimeOut) {
  const NetworkCommand command = composeDhcpCommand("eth0");

  EXPECT_EQ(command.text, "sudo dhcpcd -d eth0  -t 30 -L");
  EXPECT_EQ(command.refusal, "");
}

TEST(NetworkCommands, ValueThatCouldCarryACommandIsNamedAndRefused) {
  for (const std::string& value : kInjections) {
    expectRefused(composeAddressCommand(value, "10.0.0.1", "255.0.0.0"), "interface name", value);
    expectRefused(composeAddressCommand("eth0", value, "255.0.0.0"), "IP address", value);
    expectRefused(composeAddressCommand("eth0", "10.0.0.1", value), "network mask", value);
    expectRefused(composeGatewayCommand(value), "default gateway", value);
    expectRefused(composeInterfaceUpCommand(value), "interface name", value);
    expectRefused(composeDhcpCommand(value), "interface name", value);
  }
}

TEST(NetworkCommands, LongestAcceptedValuesFitTheCommandBuffer) {
  const NetworkCommand command = composeAddressCommand("abcdefghijklmno", "255.255.255.255", "255.255.255.255");

  EXPECT_LT(command.text.size(), 128U);
}

}  // namespace
}  // namespace quendal
