#include "multicast/request_file.h"

#include "support/temporary_folder.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

namespace quendal {
namespace {

TEST(RequestFile, HoldsPortAndAddressOfTheServer) {
  const auto request = parseRequestFile("[new_alive_cfgpc_info]\r\nTCPserverPort = 4711\r\nTCPserverIP = 10.0.0.1\r\n");

  EXPECT_EQ(request->getInt(kServerPortKey), 4711);
  EXPECT_EQ(request->getString(kServerIpKey), "10.0.0.1");
}

TEST(RequestFile, MayNameThePortInHexadecimal) {
  EXPECT_EQ(parseRequestFile("[new_alive_cfgpc_info]\nTCPserverPort=0x1F90\n")->getInt(kServerPortKey), 8080);
}

TEST(RequestFile, OtherSectionsAndGarbageHaveNoPort) {
  for (const char* text :
       {"", "TCPserverPort=1\n", "[other]\nTCPserverPort=1\n", "\xFF\xFE\x01[[[", "[new_alive_cfgpc_info"}) {
    EXPECT_FALSE(parseRequestFile(text)->hasProperty(kServerPortKey)) << text;
  }
}

TEST(RequestFile, PortThatIsNoNumberThrows) {
  for (const char* value : {"", "http", "80 ;web", "99999999999"}) {
    const auto request = parseRequestFile("[new_alive_cfgpc_info]\nTCPserverPort=" + std::string(value) + "\n");

    EXPECT_THROW(request->getInt(kServerPortKey), Poco::SyntaxException) << value;
  }
}

TEST(RequestFile, ReferencesToOtherValuesAreExpanded) {
  const auto request = parseRequestFile("[pc]\nip=10.0.0.9\n[new_alive_cfgpc_info]\nTCPserverIP=${pc.ip}\n");

  EXPECT_EQ(request->getString(kServerIpKey), "10.0.0.9");
}

TEST(RequestFile, ReferencesThatMultiplyAreRefused) {
  std::string text = "[new_alive_cfgpc_info]\nTCPserverIP=${v0}\n[x]\n";
  for (int level = 0; level < 40; ++level) {
    text += "v" + std::to_string(level) + "=${x.v" + std::to_string(level + 1) + "}${x.v" + std::to_string(level + 1) +
            "}\n";
  }

  EXPECT_THROW(parseRequestFile(text), Poco::DataFormatException);
}

TEST(RequestFile, ReferenceToItselfThrows) {
  const auto request = parseRequestFile("[new_alive_cfgpc_info]\nTCPserverIP=${new_alive_cfgpc_info.TCPserverIP}\n");

  EXPECT_THROW(request->getString(kServerIpKey), Poco::CircularReferenceException);
}

TEST(RequestFile, IsReadFromItsPath) {
  const TemporaryFolder folder;
  const std::string path = folder.writeFile("request", "[new_alive_cfgpc_info]\nTCPserverPort=1\n");

  EXPECT_EQ(loadRequestFile(path)->getInt(kServerPortKey), 1);
}

TEST(RequestFile, MissingFileThrows) {
  EXPECT_THROW(loadRequestFile("/nonexistent/request"), Poco::FileException);
  EXPECT_THROW(loadRequestFile(""), Poco::FileException);
}

}  // namespace
}  // namespace quendal
