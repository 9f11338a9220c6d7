// What ends the start-up, and the static address that is applied on the way.
#include "app/startup_config.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/start_folder.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

constexpr const char* kStopDhcp = "run sudo ps | grep dhcp | grep [e]th0 | awk '{print $1}' | xargs kill -9";
constexpr const char* kStaticIni = "IP = 192.168.0.10\nNetworkMask = 255.255.255.0\nDefaultGateway = 192.168.0.1\n";

class StartupFailure : public testing::Test {
 protected:
  StartupFailure() { folder.writeServiceIni(); }

  // The last words of a start-up that ends with 101, without what was reported before.
  std::string lastWordsOfBadConfiguration() {
    EXPECT_EQ(loadStartupConfig(), 101);
    const std::string heading = "\nMcTask: Exception Met!\nException Message:";
    const std::string text = capture.text();
    const std::size_t at = text.rfind(heading);
    return at == std::string::npos ? "none in " + text : text.substr(at + heading.size());
  }

  StartFolder folder;
  ErrorStreamCapture capture;
};

using StaticAddress = StartupFailure;

TEST_F(StartupFailure, EachRequiredKeyOfTheServiceIniIsNamedWhenItIsMissing) {
  for (const char* key : {"lcdMcastIp", "lcdMcastPort", "lcdDataPort", "kvIdFile", "targetRootDir"}) {
    folder.writeServiceIniWithout(key);
    EXPECT_EQ(lastWordsOfBadConfiguration(), std::string("Not found: Tessane Param.") + key);
  }
}

TEST_F(StartupFailure, EachIdentityKeyIsNamedWhenItIsMissing) {
  const std::vector<std::string> lines = {"GROUPNO = 1\n", "COLUMNNO = 2\n", "DISPLAYNO = 3\n"};
  for (std::size_t missing = 0; missing < lines.size(); ++missing) {
    std::string content;
    for (std::size_t line = 0; line < lines.size(); ++line) {
      content += line == missing ? "" : lines[line];
    }
    folder.write("Work/KvId.ini", content);
    EXPECT_EQ(lastWordsOfBadConfiguration(), "Not found: " + lines[missing].substr(0, lines[missing].find(' ')));
  }
}

TEST_F(StartupFailure, NumberThatIsNoneIsBadConfiguration) {
  folder.writeServiceIni({{"lcdDataPort", "many"}});

  EXPECT_EQ(lastWordsOfBadConfiguration(), "Syntax error: Not a valid integer: many");
}

TEST_F(StartupFailure, OptionalKeyThatIsThereMustBeANumberToo) {
  folder.writeServiceIni({{"MTTL", ""}});

  EXPECT_EQ(lastWordsOfBadConfiguration(), "Syntax error: Not a valid integer");
}

TEST_F(StartupFailure, StoreModeThatIsNoneIsBadConfiguration) {
  for (const std::string mode : {"Staged", "stage", "staged ; as one", "true"}) {
    folder.writeServiceIni({{"storeMode", mode}});

    EXPECT_EQ(lastWordsOfBadConfiguration(),
              "Invalid argument: Tessane Param.storeMode must be direct or staged: " + mode);
  }
}

TEST_F(StartupFailure, AllowedSendersThatAreNoneAreBadConfiguration) {
  for (const std::string sender : {"", "10.0.0.0/33", "10.0.0.1 ; the office", "transmitter.example"}) {
    folder.writeServiceIni({{"allowedSenders", "192.168.77.1, " + sender}});

    EXPECT_EQ(lastWordsOfBadConfiguration(),
              "Invalid argument: Tessane Param.allowedSenders: neither an IPv4 address nor a network such as "
              "192.168.77.0/24: '" +
                  sender + "'");
  }
}

TEST_F(StartupFailure, CommentBehindANumberBelongsToIt) {
  folder.writeServiceIni({{"lcdDataPort", "4000 ; the usual"}});

  EXPECT_EQ(lastWordsOfBadConfiguration(), "Syntax error: Not a valid integer: 4000 ; the usual");
}

TEST_F(StartupFailure, MissingIdentityFileIsBadConfiguration) {
  std::filesystem::remove(folder.path() + "/Work/KvId.ini");

  EXPECT_NE(lastWordsOfBadConfiguration().find("../Work/KvId.ini"), std::string::npos);
}

TEST_F(StartupFailure, MissingLayoutFileIsBadConfiguration) {
  std::filesystem::remove(folder.path() + "/Work/CurLayOut.cfg");

  EXPECT_NE(lastWordsOfBadConfiguration().find("../Work/CurLayOut.cfg"), std::string::npos);
}

TEST_F(StartupFailure, MissingOrientationIsBadConfiguration) {
  folder.write("Work/CurLayOut.cfg", "[Panel]\n");

  EXPECT_EQ(lastWordsOfBadConfiguration(), "Not found: Panel.Orientation");
}

TEST_F(StaticAddress, IsAppliedToTheDefaultInterfaceBeforeTheConfiguredOneIsRead) {
  folder.writeServiceIni({}, "[ethernet]\ninterface = enp3s0\n");
  folder.write("Work/IPAddress.ini", std::string(kStaticIni) + "DNS = 192.168.0.2\n");
  folder.write("etc/resolv.conf", "what was there before, which is longer than what is written now\n");
  std::string serversAtSync;
  fake::onEvent([&](const std::string& event) {
    if (event == "run sync") {
      serversAtSync = readFile(folder.path() + "/etc/resolv.conf");
    }
  });

  EXPECT_EQ(loadStartupConfig(), 0);

  EXPECT_EQ(fake::events(),
            Events({"run sync", kStopDhcp, kStopDhcp, "run sudo ifconfig eth0 192.168.0.10 netmask 255.255.255.0 up",
                    "sleep 2000", "run sudo route add default gw 192.168.0.1"}));
  EXPECT_EQ(readFile(folder.path() + "/etc/resolv.conf"), "nameserver 8.8.8.8\nnameserver 192.168.0.2\n");
  EXPECT_EQ(serversAtSync, "nameserver 8.8.8.8\nnameserver 192.168.0.2\n") << "complete before it is synced";
  EXPECT_TRUE(shared::staticIpMode);
  EXPECT_EQ(shared::netIfName, "enp3s0");
}

TEST_F(StaticAddress, WithoutDnsNamesTheGatewayAsSecondServer) {
  folder.write("Work/IPAddress.ini", kStaticIni);
  folder.write("etc/resolv.conf", "");

  EXPECT_EQ(loadStartupConfig(), 0);

  EXPECT_EQ(readFile(folder.path() + "/etc/resolv.conf"), "nameserver 8.8.8.8\nnameserver 192.168.0.1\n");
  EXPECT_EQ(shared::staticDns, "192.168.0.1");
}

TEST_F(StaticAddress, NameServersThatCannotBeWrittenDoNotStopTheStartUp) {
  folder.write("Work/IPAddress.ini", kStaticIni);

  EXPECT_EQ(loadStartupConfig(), 0);
  EXPECT_TRUE(shared::staticIpMode);
}

TEST_F(StaticAddress, EachMissingKeyEndsTheStartUpBeforeAnythingIsRun) {
  const std::string whole = kStaticIni;
  for (const std::string key : {"IP = ", "NetworkMask = ", "DefaultGateway = "}) {
    std::string without = whole;
    without.insert(without.find(key), "No");
    folder.write("Work/IPAddress.ini", without);

    EXPECT_EQ(loadStartupConfig(), 1) << key;

    EXPECT_TRUE(capture.text().ends_with("\nstatic ip file parsing error, exit..."));
    EXPECT_EQ(fake::events(), Events());
    EXPECT_FALSE(shared::staticIpMode);
  }
}

}  // namespace
}  // namespace quendal
