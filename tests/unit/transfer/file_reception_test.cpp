#include "transfer/file_reception.h"

#include "base/shared_state.h"
#include "support/display_trace.h"
#include "support/file_stage.h"
#include "support/packet_builder.h"
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

std::string nameLine(const std::string& name) {
  return "\nDataRxFileElement,fileAsciiName:" + name;
}

Received stored(const std::string& name) {
  return {.code = 0, .messages = nameLine(name)};
}

Received failed(const std::string& name, const std::string& text) {
  return {.code = 769,
          .messages = nameLine(name) + "\nDataRxFileElement<pos:3>:: Exception Met!\nException Message:" + text};
}

class FileReceptionTest : public testing::Test {
 protected:
  TransferFolder folder;
  DisplayTrace trace;
};

TEST_F(FileReceptionTest, FileGoesToTheTargetAndItsPathIntoTheRecord) {
  EXPECT_EQ(receiveFiles({fileElement("name", "data")}), stored("name"));

  EXPECT_EQ(readFile(folder.target("name")), "data");
  EXPECT_EQ(shared::dataRxRecord.fileName, "name");
  EXPECT_STREQ(shared::dataRxRecord.fileNameBuffer.data(), "name");
  EXPECT_EQ(shared::dataRxRecord.filePath, folder.target("name"));
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReceptionTest, SizesAroundTheChunkArriveWhole) {
  for (const std::size_t size : {0U, 1U, 1023U, 1024U, 1025U, 2048U, 70000U}) {
    std::string data(size, '\0');
    for (std::size_t at = 0; at < size; ++at) {
      data[at] = static_cast<char>(at * 7);
    }
    receiveFiles({fileElement("name", data)});
    EXPECT_EQ(readFile(folder.target("name")), data) << size;
  }
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReceptionTest, FilesFollowEachOtherOnOneConnection) {
  receiveFiles({fileElement("one", "1"), fileElement("two", "22"), fileElement("one", "new")});

  EXPECT_EQ(readFile(folder.target("one")), "new");
  EXPECT_EQ(readFile(folder.target("two")), "22");
}

TEST_F(FileReceptionTest, ElementLengthIsNotLookedAt) {
  std::string element = fileElement("name", "data");
  element.replace(0, 4, fromHex("FFFFFFFF"));

  receiveFiles({element});

  EXPECT_EQ(readFile(folder.target("name")), "data");
}

TEST_F(FileReceptionTest, DataThatIsCutShortIsKeptAndNoFailureOfTheTransfer) {
  const std::string element = fileElement("name", std::string(3000, 'x'));

  EXPECT_EQ(receiveFiles({element.substr(0, element.size() - 1000)}), stored("name"));

  EXPECT_EQ(readFile(folder.target("name")), std::string(2000, 'x'));
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReceptionTest, NameLengthsThatFitAreTaken) {
  const std::string longest = "./" + std::string(768, '/') + std::string(253, 'n');
  ASSERT_EQ(longest.size(), 1023U);
  for (const std::string& name : {std::string("n"), longest}) {
    EXPECT_EQ(receiveFiles({fileElement(name, "data")}), stored(name));
    EXPECT_EQ(readFile(folder.target(name)), "data");
    EXPECT_EQ(shared::dataRxRecord.fileNameBuffer.at(name.size()), '\0');
  }
}

TEST_F(FileReceptionTest, NameIsTerminatedWhereItEndsThoughALongerOneCameBefore) {
  receiveFiles({fileElement("a-longer-name", ""), fileElement("name", "")});

  EXPECT_STREQ(shared::dataRxRecord.fileNameBuffer.data(), "name");
  EXPECT_EQ(shared::dataRxRecord.fileName, "name");
}

TEST_F(FileReceptionTest, NameLengthsThatDoNotFitAreSaidSoAndTheNameIsNotRead) {
  for (const std::uint16_t length : std::initializer_list<std::uint16_t>{1024, 65535}) {
    EXPECT_EQ(receiveFiles({fileElementHead(length)}),
              (Received{.code = 257,
                        .messages = "\nDataRxFileElement<pos:1>:: Exception Met!"
                                    "\nException Message:Bad data format: a file name of " +
                                    std::to_string(length) + " bytes, at most 1023 fit"}));
  }
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReceptionTest, RefusedNamesTakeTheFailurePathAndReleaseTheDisplay) {
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
    EXPECT_EQ(receiveFiles({fileElement(name, "data")}), failed(name, text));
    expected.insert(expected.end(), {"sleep 5000", "post RXCOMPLETE"});
  }
  EXPECT_EQ(trace.entries(), expected);
  EXPECT_TRUE(fs::is_directory(shared::targetRootDir));
  EXPECT_TRUE(fs::is_empty(shared::targetRootDir));
}

TEST_F(FileReceptionTest, NameThatIsADirectoryLeavesItAsItWas) {
  folder.writeTarget("dir/file", "safe");

  for (const std::string name : {"dir", "dir/"}) {
    EXPECT_EQ(receiveFiles({fileElement(name, "data")}),
              failed(name, "Invalid access: a file name must not stand for a directory: " + name));
  }
  EXPECT_EQ(readFile(folder.target("dir/file")), "safe");
}

TEST_F(FileReceptionTest, RelativeNameThatStaysInsideIsTakenAsItCame) {
  fs::create_directory(folder.target("sub"));

  receiveFiles({fileElement("sub/name", "data")});

  EXPECT_EQ(readFile(folder.target("sub/name")), "data");
  EXPECT_EQ(shared::dataRxRecord.filePath, shared::targetRootDir + "/sub/name");
}

TEST_F(FileReceptionTest, MissingTargetDirectoryIsAFailureAndNotCreated) {
  fs::remove(shared::targetRootDir);

  EXPECT_EQ(receiveFiles({fileElement("name", "data")}),
            failed("name", "File not found: " + shared::targetRootDir + ": No such file or directory"));

  EXPECT_FALSE(fs::exists(shared::targetRootDir));
}

TEST_F(FileReceptionTest, WriteThatFailsIsAFailureOfTheTransfer) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{4096, before.rlim_max};
  // Set only while the file is written: the captured messages are a file, too.
  const std::string element = fileElement("name", std::string(8192, 'x'));
  setrlimit(RLIMIT_FSIZE, &small);
  const Received received = receiveFiles({element});
  setrlimit(RLIMIT_FSIZE, &before);

  EXPECT_EQ(received, failed("name", "Cannot write file: " + folder.target("name") + ": File too large"));
  EXPECT_EQ(trace.entries(), Entries({"sleep 5000", "post RXCOMPLETE"}));
}

}  // namespace
}  // namespace quendal
