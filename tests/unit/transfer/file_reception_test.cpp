// File elements received by the connection handler: where they go and what is refused.
#include "base/shared_state.h"
#include "support/display_trace.h"
#include "support/packet_builder.h"
#include "support/served_connection.h"
#include "support/temporary_folder.h"
#include "support/transfer_folder.h"
#include "transfer/transfer_state.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace quendal {
namespace {

namespace fs = std::filesystem;
using Entries = std::vector<std::string>;

const std::string kEnd =
    "\nDataProcHeader<pos:0>:read 0 bytes, seems that socket was closed,disconnecting..."
    "\nData TCP port read err, Err RC:259";

std::string nameLine(const std::string& name) {
  return "\nDataRxFileElement,fileAsciiName:" + name;
}

std::string storeFailure(const std::string& text) {
  return "\nDataRxFileElement<pos:3>:: Exception Met!\nException Message:" + text +
         "\nData TCP port read err, Err RC:1537";
}

class FileReception : public testing::Test {
 protected:
  static std::string messagesAfter(const std::string& bytes) {
    ServedConnection connection;
    connection.send(bytes);
    connection.closeSending();
    return connection.runUntilFailure();
  }

  TransferFolder folder;
  DisplayTrace trace;
};

TEST_F(FileReception, FileGoesToTheTargetAndItsPathIntoTheRecord) {
  EXPECT_EQ(messagesAfter(filePacket("name", "data")), nameLine("name") + kEnd);

  EXPECT_EQ(readFile(folder.target("name")), "data");
  EXPECT_EQ(shared::dataRxRecord.fileName, "name");
  EXPECT_STREQ(shared::dataRxRecord.fileNameBuffer.data(), "name");
  EXPECT_EQ(shared::dataRxRecord.filePath, folder.target("name"));
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReception, SizesAroundTheChunkArriveWhole) {
  for (const std::size_t size : {0U, 1U, 1023U, 1024U, 1025U, 2048U, 70000U}) {
    std::string data(size, '\0');
    for (std::size_t at = 0; at < size; ++at) {
      data[at] = static_cast<char>(at * 7);
    }
    messagesAfter(filePacket("name", data));
    EXPECT_EQ(readFile(folder.target("name")), data) << size;
  }
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReception, FilesFollowEachOtherOnOneConnection) {
  messagesAfter(filePacket("one", "1") + headerElement(1) + filePacket("two", "22") + filePacket("one", "new"));

  EXPECT_EQ(readFile(folder.target("one")), "new");
  EXPECT_EQ(readFile(folder.target("two")), "22");
}

TEST_F(FileReception, ElementLengthIsNotLookedAt) {
  std::string element = fileElement("name", "data");
  element.replace(0, 4, fromHex("FFFFFFFF"));

  messagesAfter(headerElement(3) + commandStatusElement() + element);

  EXPECT_EQ(readFile(folder.target("name")), "data");
}

TEST_F(FileReception, DataThatIsCutShortIsKeptAndNoFailureOfTheTransfer) {
  const std::string packet = filePacket("name", std::string(3000, 'x'));

  EXPECT_EQ(messagesAfter(packet.substr(0, packet.size() - 1000)), nameLine("name") + kEnd);

  EXPECT_EQ(readFile(folder.target("name")), std::string(2000, 'x'));
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReception, NameLengthsThatFitAreTaken) {
  const std::string longest = "./" + std::string(768, '/') + std::string(253, 'n');
  ASSERT_EQ(longest.size(), 1023U);
  for (const std::string& name : {std::string("n"), longest}) {
    EXPECT_EQ(messagesAfter(filePacket(name, "data")), nameLine(name) + kEnd);
    EXPECT_EQ(readFile(folder.target(name)), "data");
    EXPECT_EQ(shared::dataRxRecord.fileNameBuffer.at(name.size()), '\0');
  }
}

TEST_F(FileReception, NameIsTerminatedWhereItEndsThoughALongerOneCameBefore) {
  messagesAfter(filePacket("a-longer-name", "") + filePacket("name", ""));

  EXPECT_STREQ(shared::dataRxRecord.fileNameBuffer.data(), "name");
  EXPECT_EQ(shared::dataRxRecord.fileName, "name");
}

TEST_F(FileReception, NameLengthsThatDoNotFitAreSaidSoAndTheNameIsNotRead) {
  for (const std::uint16_t length : std::initializer_list<std::uint16_t>{1024, 65535}) {
    EXPECT_EQ(messagesAfter(headerElement(3) + commandStatusElement() + fileElementHead(length)),
              "\nDataRxFileElement<pos:1>:: Exception Met!\nException Message:Bad data format: a file name of " +
                  std::to_string(length) + " bytes, at most 1023 fit\nData TCP port read err, Err RC:1025");
  }
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReception, RefusedNamesTakeTheFailurePathAndReleaseTheDisplay) {
  const std::string zero("a\0b", 3);
  const std::vector<std::pair<std::string, std::string>> table = {
      {"", "Invalid access: a file name must not be empty"},
      {"../name", "Invalid access: a file name must not lead upwards: ../name"},
      {"a/../../name", "Invalid access: a file name must not lead upwards: a/../../name"},
      {zero, "Invalid access: a file name must not hold a zero byte"},
      {".", "Invalid access: a file name must not stand for a directory: ."},
      {"/", "Invalid access: a file name must not stand for a directory: /"}};

  Entries expected;
  for (const auto& [name, text] : table) {
    EXPECT_EQ(messagesAfter(filePacket(name, "data")), nameLine(name) + storeFailure(text));
    expected.insert(expected.end(), {"sleep 5000", "post RXCOMPLETE"});
  }
  EXPECT_EQ(trace.entries(), expected);
  EXPECT_TRUE(fs::is_directory(shared::targetRootDir));
  EXPECT_TRUE(fs::is_empty(shared::targetRootDir));
}

TEST_F(FileReception, NameThatIsADirectoryLeavesItAsItWas) {
  folder.writeTarget("dir/file", "safe");

  for (const std::string name : {"dir", "dir/"}) {
    EXPECT_EQ(messagesAfter(filePacket(name, "data")),
              nameLine(name) + storeFailure("Invalid access: a file name must not stand for a directory: " + name));
  }
  EXPECT_EQ(readFile(folder.target("dir/file")), "safe");
}

TEST_F(FileReception, RelativeNameThatStaysInsideIsTakenAsItCame) {
  fs::create_directory(folder.target("sub"));

  messagesAfter(filePacket("sub/name", "data"));

  EXPECT_EQ(readFile(folder.target("sub/name")), "data");
  EXPECT_EQ(shared::dataRxRecord.filePath, shared::targetRootDir + "/sub/name");
}

TEST_F(FileReception, MissingTargetDirectoryIsAFailureAndNotCreated) {
  fs::remove(shared::targetRootDir);

  EXPECT_EQ(
      messagesAfter(filePacket("name", "data")),
      nameLine("name") + storeFailure("File not found: " + shared::targetRootDir + ": No such file or directory"));

  EXPECT_FALSE(fs::exists(shared::targetRootDir));
}

TEST_F(FileReception, WriteThatFailsIsAFailureOfTheTransfer) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{4096, before.rlim_max};
  // Set only while the file is written: the captured messages are a file, too.
  ServedConnection connection;
  connection.send(filePacket("name", std::string(8192, 'x')));
  connection.closeSending();
  setrlimit(RLIMIT_FSIZE, &small);
  const std::string messages = connection.runUntilFailure();
  setrlimit(RLIMIT_FSIZE, &before);

  EXPECT_EQ(messages,
            nameLine("name") + storeFailure("Cannot write file: " + folder.target("name") + ": File too large"));
  EXPECT_EQ(trace.entries(), Entries({"sleep 5000", "post RXCOMPLETE"}));
}

}  // namespace
}  // namespace quendal
