#include "base/archive_log.h"

#include "support/fake_platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

namespace quendal {
namespace {

class ArchiveLog : public testing::Test {
 protected:
  ArchiveLog() {
    std::filesystem::create_directory(folder.path() + "/bin");
    std::filesystem::current_path(folder.path() + "/bin");
    fake::setNow(Poco::DateTime(2024, 3, 7, 4, 5, 6).timestamp());
  }

  static std::string dateOf(const std::chrono::year_month_day& date) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%02u/%02u/%d", static_cast<unsigned>(date.day()),
                  static_cast<unsigned>(date.month()), static_cast<int>(date.year()));
    return text.data();
  }

  TemporaryFolder folder;
};

TEST_F(ArchiveLog, LineHasTimeDateAndText) {
  EXPECT_EQ(archiveLogLine(Poco::DateTime(2024, 3, 7, 4, 5, 6), "text"), "04:05:06\t07/03/2024 - text\r\n");
  EXPECT_EQ(archiveLogLine(Poco::DateTime(1999, 12, 31, 23, 59, 59), "%s%n.zip"),
            "23:59:59\t31/12/1999 - %s%n.zip\r\n");
}

// A calendar of its own, that of the standard library, says what the lines have to be.
TEST_F(ArchiveLog, LinesOnBothSidesOfEachMidnightHaveTheirOwnDay) {
  using namespace std::chrono;
  for (sys_days day = 2023y / January / 1; day < 2029y / January / 1; day += days(1)) {
    const year_month_day before(day - days(1));
    const year_month_day after(day);
    const Poco::Timestamp midnight(duration_cast<microseconds>(day.time_since_epoch()).count());

    ASSERT_EQ(archiveLogLine(midnight - 1, ""), "23:59:59\t" + dateOf(before) + " - \r\n");
    ASSERT_EQ(archiveLogLine(midnight, ""), "00:00:00\t" + dateOf(after) + " - \r\n");
  }
}

TEST_F(ArchiveLog, LineHasTheTimeOfItsOwnWritingAlsoWhenTheClockIsSetBack) {
  fake::setNow(Poco::DateTime(2024, 12, 31, 23, 59, 59).timestamp());
  appendToArchiveLog("old year");
  fake::setNow(Poco::DateTime(2025, 1, 1).timestamp());
  appendToArchiveLog("new year");
  fake::setNow(Poco::DateTime(2024, 2, 29, 12, 0, 0).timestamp());
  appendToArchiveLog("set back");

  EXPECT_EQ(readFile(folder.path() + "/LogZipTmp.dat"),
            "23:59:59\t31/12/2024 - old year\r\n00:00:00\t01/01/2025 - new year\r\n"
            "12:00:00\t29/02/2024 - set back\r\n");
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
