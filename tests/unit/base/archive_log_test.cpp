#include "base/archive_log.h"

#include "support/fake_platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quendal {
namespace {

class ArchiveLog : public testing::Test {
 protected:
  ArchiveLog() {
    std::filesystem::create_directory(folder.path() + "/bin");
    std::filesystem::current_path(folder.path() + "/bin");
    fake::setNow(Poco::DateTime(2024, 3, 7, 4, 5, 6).timestamp());
  }

  TemporaryFolder folder;
};

TEST_F(ArchiveLog, LineHasTimeDateAndText) {
  EXPECT_EQ(archiveLogLine(Poco::DateTime(2024, 3, 7, 4, 5, 6), "text"), "04:05:06\t07/03/2024 - text\r\n");
  EXPECT_EQ(archiveLogLine(Poco::DateTime(1999, 12, 31, 23, 59, 59), "%s%n.zip"),
            "23:59:59\t31/12/1999 - %s%n.zip\r\n");
}

TEST_F(ArchiveLog, LinesAreAppended) {
  appendToArchiveLog("one");
  appendToArchiveLog("two");

  EXPECT_EQ(readFile(folder.path() + "/LogZipTmp.dat"), "04:05:06\t07/03/2024 - one\r\n04:05:06\t07/03/2024 - two\r\n");
}

TEST_F(ArchiveLog, OneThatCannotBeOpenedCostsItsLineOnly) {
  std::filesystem::create_directory(folder.path() + "/LogZipTmp.dat");

  appendToArchiveLog("one");

  EXPECT_TRUE(std::filesystem::is_directory(folder.path() + "/LogZipTmp.dat"));
}

}  // namespace
}  // namespace quendal
