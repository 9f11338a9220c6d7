// The journal's text: what is written is read back, and nothing else is taken for a journal.
#include "transfer/store/staging_journal.h"

#include <Poco/Checksum.h>
#include <Poco/NumberFormatter.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

using Files = std::vector<StagedFile>;

const Files kFiles = {{0, "FileList.sys"}, {7, "sub/a name"}, {4294967295, "line\nend 00000000\n\xFF"}, {3, ""}};

std::string withEnd(const std::string& before) {
  Poco::Checksum checksum(Poco::Checksum::TYPE_CRC32);
  checksum.update(before);
  return before + "end " + Poco::NumberFormatter::formatHex(checksum.checksum(), 8) + "\n";
}

TEST(StagingJournal, HasALineForEachFileAndItsChecksumAtTheEnd) {
  EXPECT_EQ(journalText({{0, "FileList.sys"}, {12, "sub/a name"}}),
            "staged files 1\n0 12 FileList.sys\n12 10 sub/a name\nend FBB38B0D\n");
}

TEST(StagingJournal, IsReadBackAsItWasWritten) {
  for (const Files& files : {Files(), Files{{1, "a"}}, kFiles}) {
    EXPECT_EQ(parseJournal(journalText(files)), files);
  }
}

TEST(StagingJournal, CutOffAnywhereItIsNone) {
  const std::string whole = journalText(kFiles);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(parseJournal(whole.substr(0, length))) << length;
    EXPECT_FALSE(parseJournal(whole.substr(0, length) + std::string(whole.size() - length, '\0'))) << length;
  }
}

TEST(StagingJournal, WithAnyBitChangedItIsNone) {
  const std::string whole = journalText(kFiles);
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string changed = whole;
      changed[at] = static_cast<char>(changed[at] ^ (1 << bit));
      EXPECT_FALSE(parseJournal(changed)) << at << " " << bit;
    }
  }
}

TEST(StagingJournal, WithAnythingBehindItsEndItIsNone) {
  EXPECT_FALSE(parseJournal(journalText(kFiles) + "\n"));
  EXPECT_FALSE(parseJournal(journalText(kFiles) + journalText(kFiles)));
}

TEST(StagingJournal, LinesThatAreNoneAreNotTakenWhateverTheChecksumSays) {
  ASSERT_TRUE(parseJournal(withEnd("staged files 1\n0 1 a\n")));
  for (const char* lines : {"0 1 a", "0 2 a\n", "0 1 aa\n", "-1 1 a\n", "4294967296 1 a\n", "0 4294967295 a\n", "0 a\n",
                            " 0 1 a\n", "0 1  a\n", "a\n", "\n", "0 1 a\n0"}) {
    EXPECT_FALSE(parseJournal(withEnd(std::string("staged files 1\n") + lines))) << lines;
  }
  EXPECT_FALSE(parseJournal(withEnd("staged files 2\n")));
}

}  // namespace
}  // namespace quendal
