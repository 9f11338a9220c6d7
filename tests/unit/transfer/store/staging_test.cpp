// Collecting the files of a transfer.
#include "transfer/store/staging.h"

#include "base/fenced_file.h"
#include "support/fake_platform.h"
#include "unit/transfer/store/staging_fixture.h"

#include <Poco/Exception.h>

#include <cerrno>
#include <span>

namespace quendal {
namespace {

namespace fs = std::filesystem;

class StagingTest : public StagingFixture {
 protected:
  void receive(const std::string& name, const std::string& data) {
    const Staging::Place place = collected.placeFor(name);
    FencedFile file(place.folder, place.name);
    file.write(std::as_bytes(std::span(data)));
    file.close();
    collected.add(name);
  }

  void receiveNewSet() {
    collected.begin(target);
    receive("a", "new 0");
    receive("sub/b", "new 1");
    receive("c", "new 2");
  }

  // What is to be seen: nothing of what is being collected.
  Tree visible() const {
    Tree all = tree();
    std::erase_if(all, [](const auto& file) { return file.first.starts_with(".quendal-staged/"); });
    return all;
  }

  WriteBack writeBack;
  Staging collected{writeBack};
};

TEST_F(StagingTest, NothingIsSeenBeforeTheEndAndAllOfItThen) {
  receiveNewSet();
  EXPECT_EQ(visible(), oldSet);
  EXPECT_TRUE(collected.isOpen());

  collected.putIntoPlace();

  EXPECT_EQ(tree(), newSet);
  EXPECT_FALSE(collected.isOpen());
  EXPECT_TRUE(isStagingFolderGone());
}

TEST_F(StagingTest, DiscardedItLeavesTheOldSetAndNothingElse) {
  receiveNewSet();

  EXPECT_EQ(collected.discard(), 3U);

  EXPECT_EQ(tree(), oldSet);
  EXPECT_TRUE(isStagingFolderGone());
  EXPECT_FALSE(collected.isOpen());
  EXPECT_EQ(collected.discard(), 0U);
}

TEST_F(StagingTest, ANewBeginningThrowsAwayWhatWasCollected) {
  receiveNewSet();
  collected.begin(target);
  receive("c", "newest");

  collected.putIntoPlace();

  EXPECT_EQ(tree(), (Tree{{"a", "old"}, {"c", "newest"}, {"other", "stays"}, {"sub/b", "old"}}));
}

TEST_F(StagingTest, ABeginningThrowsAwayWhatAnotherProcessHasLeft) {
  collect();
  writeJournal(journalText(files));

  collected.begin(target);
  collected.putIntoPlace();

  EXPECT_EQ(tree(), oldSet);
}

TEST_F(StagingTest, OfTwoFilesForOnePlaceTheLaterWinsHoweverItIsSpelt) {
  collected.begin(target);
  receive("a", "first");
  receive("a", "second");
  receive("sub/b", "first");
  receive("./sub//b", "second");
  receive("./c", "first");
  receive("c", "second");

  collected.putIntoPlace();

  EXPECT_EQ(tree(), (Tree{{"a", "second"}, {"c", "second"}, {"other", "stays"}, {"sub/b", "second"}}));
}

TEST_F(StagingTest, AFileThatIsSentAgainDoesNotTakeItsSpaceTwice) {
  collected.begin(target);
  receive("a", "first");
  receive("a", "second");

  EXPECT_EQ(std::distance(fs::directory_iterator(staging), fs::directory_iterator()), 1);
}

TEST_F(StagingTest, NamesAreRefusedAsTheyCome) {
  collected.begin(target);
  fs::create_directory(target + "/dir");

  for (const char* name : {"", "../x", "dir", "missing/x", ".quendal-staged", ".quendal-staged/journal"}) {
    EXPECT_THROW(collected.placeFor(name), Poco::Exception) << name;
  }
  EXPECT_EQ(visible(), oldSet);
}

TEST_F(StagingTest, AnEmptyTransferEndsWithoutATrace) {
  collected.begin(target);

  collected.putIntoPlace();

  EXPECT_EQ(tree(), oldSet);
  EXPECT_TRUE(isStagingFolderGone());
}

TEST_F(StagingTest, AMissingTargetIsSaidSoByTheFile) {
  fs::remove_all(target);
  collected.begin(target);

  EXPECT_THROW(collected.placeFor("a"), Poco::FileNotFoundException);
  EXPECT_FALSE(fs::exists(target));
}

TEST_F(StagingTest, AnErrorOfTheDiskSinceTheBeginningKeepsTheOldSet) {
  const ErrorStreamCapture capture;
  receiveNewSet();
  WriteBack::Writing(writeBack).intoFolder(folder.path() + "/none");

  EXPECT_THROW(collected.putIntoPlace(), Poco::WriteFileException);

  EXPECT_EQ(tree(), oldSet);
  EXPECT_FALSE(collected.isOpen());
  EXPECT_TRUE(isStagingFolderGone());
}

TEST_F(StagingTest, AnErrorBeforeTheBeginningIsNoneOfItsOwn) {
  const ErrorStreamCapture capture;
  WriteBack::Writing(writeBack).intoFolder(folder.path() + "/none");
  receiveNewSet();

  collected.putIntoPlace();

  EXPECT_EQ(tree(), newSet);
}

}  // namespace
}  // namespace quendal
