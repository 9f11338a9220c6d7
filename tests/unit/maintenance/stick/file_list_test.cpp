#include "maintenance/stick/file_list.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

using Names = std::vector<std::string>;

Announcement announcementOf(const std::string& value) {
  return parseFileList(value)->announcement;
}

TEST(FileListTrim, DropsSemicolonsAtTheTwoEndsOnly) {
  EXPECT_EQ(trimFileList(";;a#0#x.zip;"), "a#0#x.zip");
  EXPECT_EQ(trimFileList("a;;b"), "a;;b");
  EXPECT_EQ(trimFileList(";a;;b;;"), "a;;b");
  EXPECT_EQ(trimFileList("a"), "a");
  EXPECT_EQ(trimFileList(" ;a; "), " ;a; ");
}

TEST(FileListTrim, ListOfSemicolonsBecomesEmpty) {
  EXPECT_EQ(trimFileList(""), "");
  EXPECT_EQ(trimFileList(";"), "");
  EXPECT_EQ(trimFileList(";;;;"), "");
}

TEST(FileListCheck, TakesTheNamesInTheirOrder) {
  EXPECT_EQ(parseFileList("a#0#Layout1.zip;b#0#FileList.sys")->names, (Names{"Layout1.zip", "FileList.sys"}));
  EXPECT_EQ(parseFileList("#0#x.zip")->names, Names{"x.zip"});
  EXPECT_EQ(parseFileList("a#0#two words.zip;a#0#two words.zip")->names, (Names{"two words.zip", "two words.zip"}));
}

TEST(FileListCheck, AnyEntryOfAnotherFormCancelsTheWholeList) {
  for (const char* value : {"", "a#1#x.zip", "x.zip", "a#0", "a#0#x#y", "a##x.zip", "a#00#x.zip", "a# 0#x.zip",
                            "a#0#x.zip;;b#0#y.zip", "a#0#x.zip;b#1#y.zip", "a#0#x.zip;y.zip"}) {
    EXPECT_EQ(parseFileList(value), std::nullopt) << value;
  }
}

TEST(FileListCheck, ControlFileDecidesOnTheAnnouncement) {
  EXPECT_EQ(announcementOf("a#0#x.zip"), Announcement::kNone);
  EXPECT_EQ(announcementOf("a#0#FileList.sys"), Announcement::kNormal);
  EXPECT_EQ(announcementOf("a#0#FLDnCare.sys"), Announcement::kDontCare);
  EXPECT_EQ(announcementOf("a#0#sub/myFileList.sys.bak;b#0#x.zip"), Announcement::kNormal);
  EXPECT_EQ(announcementOf("a#0#filelist.sys"), Announcement::kNone);
  EXPECT_EQ(announcementOf("FileList.sys#0#x.zip"), Announcement::kNone);
}

TEST(FileListCheck, LastControlFileWins) {
  EXPECT_EQ(announcementOf("a#0#FileList.sys;b#0#FLDnCare.sys"), Announcement::kDontCare);
  EXPECT_EQ(announcementOf("a#0#FLDnCare.sys;b#0#FileList.sys;c#0#x.zip"), Announcement::kNormal);
}

TEST(FileListCheck, WithinOneNameFileListWins) {
  EXPECT_EQ(announcementOf("a#0#FLDnCare.sys-FileList.sys"), Announcement::kNormal);
  EXPECT_EQ(announcementOf("a#0#FileList.sys-FLDnCare.sys"), Announcement::kNormal);
}

TEST(FileListReport, FramesTheTrimmedList) {
  EXPECT_EQ(fileListReport("a#0#x.zip"), "\n" + std::string(58, '*') +
                                             "\n*********  Going to extract file name from fileList:[\n"
                                             "a#0#x.zip]\n");
}

TEST(CopyReport, HasNoLeadingZeros) {
  const Poco::DateTime time(2024, 11, 2, 4, 3, 9, 7);

  EXPECT_EQ(copyReport(time, 2, 10, "Layout1.zip"), "\n4:3:9.7 Copying [2 of 10]: Layout1.zip...");
  EXPECT_EQ(copyReport(Poco::DateTime(2024, 11, 2, 23, 59, 58, 999), 1, 1, "x"),
            "\n23:59:58.999 Copying [1 of 1]: x...");
  EXPECT_EQ(copyReport(Poco::DateTime(2025, 1, 1), 1, 1, "x"), "\n0:0:0.0 Copying [1 of 1]: x...");
}

}  // namespace
}  // namespace quendal
