// From the folder of collected files into place, and what a start finds there.
#include "transfer/store/staging_folder.h"

#include "unit/transfer/store/staging_fixture.h"

#include <Poco/Exception.h>

namespace quendal {
namespace {

namespace fs = std::filesystem;

using StagingFolder = StagingFixture;

const std::string kFinished = "\nA transfer of 3 staged files has been finished";
const std::string kThrownAway = "\nA transfer that had not ended has been thrown away";

TEST_F(StagingFolder, CollectedFilesTakeTheirPlaces) {
  collect();

  putStagedIntoPlace(target, files);
  removeStagingFolder(target);

  EXPECT_EQ(tree(), newSet);
  EXPECT_TRUE(isStagingFolderGone());
}

TEST_F(StagingFolder, ALinkIsReplacedAndNotFollowed) {
  fs::remove(target + "/a");
  fs::create_symlink("other", target + "/a");
  collect();

  putStagedIntoPlace(target, files);

  EXPECT_FALSE(fs::is_symlink(target + "/a"));
  EXPECT_EQ(readFile(target + "/other"), "stays");
}

TEST_F(StagingFolder, WhatCanBeKnownToGoWrongChangesNothing) {
  const auto expectRefused = [this](const std::vector<StagedFile>& bad) {
    EXPECT_THROW(putStagedIntoPlace(target, bad), Poco::Exception);
    removeStagingFolder(target);
    EXPECT_EQ(tree(), oldSet);
    makeOldSet();
    collect();
  };
  expectRefused(files);  // nothing has been collected
  expectRefused({{0, "a"}, {1, "missing/b"}});
  expectRefused({{0, "a"}, {1, "sub"}});
  expectRefused({{0, "a"}, {1, "../b"}});
  expectRefused({{0, "a"}, {3, "sub/b"}});
}

TEST_F(StagingFolder, AFileThatIsRefusedAllTheSameDoesNotKeepTheOthersBack) {
  collect();
  fs::remove(staging + "/0");
  fs::create_directory(staging + "/0");  // no directory takes the place of a file

  try {
    putStagedIntoPlace(target, files);
    FAIL() << "nothing was thrown";
  } catch (const Poco::Exception& failure) {
    EXPECT_EQ(failure.displayText(), "File access error: " + target + "/a: Not a directory");
  }
  EXPECT_EQ(readFile(target + "/a"), "old");
  EXPECT_EQ(readFile(target + "/sub/b"), "new 1");
  EXPECT_EQ(readFile(target + "/c"), "new 2");
}

TEST_F(StagingFolder, NamesIntoItAreRefused) {
  for (const bool exists : {false, true}) {
    EXPECT_THROW(refuseStagingName(target, ".quendal-staged"), Poco::InvalidAccessException);
    EXPECT_THROW(refuseStagingName(target, "sub/../.quendal-staged"), Poco::InvalidAccessException);
    EXPECT_EQ(isStagingFolderGone(), !exists);
    createStagingFolder(target);
  }
  fs::create_directory_symlink(".quendal-staged", target + "/link");
  EXPECT_THROW(refuseStagingName(target, ".quendal-staged/journal"), Poco::InvalidAccessException);
  EXPECT_THROW(refuseStagingName(target, "link/journal"), Poco::InvalidAccessException);
  EXPECT_THROW(refuseStagingName(target, ".QUENDAL-STAGED"), Poco::InvalidAccessException);  // the same on FAT
  EXPECT_NO_THROW(refuseStagingName(target, "sub/b"));
  EXPECT_NO_THROW(refuseStagingName(target, "quendal-staged"));
}

TEST_F(StagingFolder, OnlyTheOwnMountIsTakenForOneFileSystem) {
  createStagingFolder(target);

  EXPECT_NO_THROW(refuseOtherMount(target, "sub/b"));
  fs::remove(staging);
  fs::create_directory_symlink("/proc", staging);
  EXPECT_THROW(refuseOtherMount(target, "sub/b"), Poco::InvalidAccessException);
}

TEST_F(StagingFolder, AStartThatFindsNoneSaysNothing) {
  const ErrorStreamCapture capture;

  recoverStaging(target);
  recoverStaging(folder.path() + "/none");

  EXPECT_EQ(capture.text(), "");
  EXPECT_EQ(tree(), oldSet);
}

TEST_F(StagingFolder, AStartFinishesWhatHasACompleteJournal) {
  const ErrorStreamCapture capture;
  collect();
  writeJournal(journalText(files));
  fs::rename(staging + "/1", target + "/sub/b");  // done already

  recoverStaging(target);

  EXPECT_EQ(tree(), newSet);
  EXPECT_TRUE(isStagingFolderGone());
  EXPECT_EQ(capture.text(), kFinished);
}

TEST_F(StagingFolder, AStartThrowsAwayWhatHasNone) {
  const ErrorStreamCapture capture;
  collect();
  fs::create_directory(staging + "/folder");
  folder.writeFile("target/.quendal-staged/journal.new", journalText(files));

  recoverStaging(target);

  EXPECT_EQ(tree(), oldSet);
  EXPECT_TRUE(isStagingFolderGone());
  EXPECT_EQ(capture.text(), kThrownAway);
}

TEST_F(StagingFolder, AStartThrowsAwayWhatHasATornJournal) {
  const ErrorStreamCapture capture;
  const std::string whole = journalText(files);
  std::string expected;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    collect();
    writeJournal(whole.substr(0, length));
    recoverStaging(target);
    EXPECT_EQ(tree(), oldSet) << length;
    EXPECT_TRUE(isStagingFolderGone()) << length;
    expected += kThrownAway;
  }
  EXPECT_EQ(capture.text(), expected);
}

TEST_F(StagingFolder, AStartChecksTheJournalsNamesAgain) {
  const ErrorStreamCapture capture;
  collect();
  writeJournal(journalText({{0, "../escaped"}, {1, "sub/b"}, {2, "sub"}}));

  recoverStaging(target);

  EXPECT_EQ(tree(), (Tree{{"a", "old"}, {"other", "stays"}, {"sub/b", "new 1"}}));
  EXPECT_FALSE(fs::exists(folder.path() + "/escaped"));
  EXPECT_TRUE(isStagingFolderGone());
  EXPECT_EQ(capture.text(),
            "\nStaged files: Exception Met!\nException Message:Invalid access: a file name must not lead upwards: "
            "../escaped");
}

TEST_F(StagingFolder, AJournalThatCannotBeReadStaysForTheNextStart) {
  const ErrorStreamCapture capture;
  collect();
  fs::create_directory(staging + "/journal");

  recoverStaging(target);

  EXPECT_EQ(tree().count(".quendal-staged/0"), 1U);
  EXPECT_TRUE(capture.text().starts_with("\nStaged files: Exception Met!")) << capture.text();
}

TEST_F(StagingFolder, AJournalThatCannotBeOpenedStaysForTheNextStart) {
  const ErrorStreamCapture capture;
  collect();
  fs::create_symlink("journal", staging + "/journal");

  recoverStaging(target);

  EXPECT_TRUE(fs::exists(staging + "/0"));
  EXPECT_TRUE(capture.text().starts_with("\nStaged files: Exception Met!")) << capture.text();
}

TEST_F(StagingFolder, ALinkInItsPlaceIsRemovedAndWhatItLeadsToStays) {
  folder.writeFile("outside/file", "safe");
  fs::create_directory_symlink("../outside", staging);

  removeStagingFolder(target);

  EXPECT_FALSE(fs::is_symlink(staging));
  EXPECT_EQ(readFile(folder.path() + "/outside/file"), "safe");
}

}  // namespace
}  // namespace quendal
