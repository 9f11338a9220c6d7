#include "maintenance/stick/distribution.h"

#include "base/shared_state.h"
#include "maintenance/stick/stick_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/semaphore_set.h"
#include "support/stick_board.h"

#include <Poco/DateTime.h>
#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

const std::string kFormatError = "\nFormat error found. \r\n Ignored this layout or file update!";

std::string banner(const std::string& value) {
  return "\n**********************************************************"
         "\n*********  Going to extract file name from fileList:[\n" +
         value + "]\n";
}

class Distribution : public testing::Test {
 protected:
  Distribution() : folder_("/data/home/sda1/KVCFG/1.2.3") {
    board.makeFolder(folder_);
    fake::setNow(Poco::DateTime(2024, 11, 2, 14, 3, 9, 5).timestamp());
  }

  void writeList(const std::string& value) const {
    board.write(folder_ + "/KVFILE_XFER_INSTRU.spt", "[new_local_dist_task]\nfileList = " + value + "\n");
  }
  void writeSource(const std::string& name, const std::string& content) const {
    board.write(folder_ + "/" + name, content);
  }
  void distribute() const { distributeFiles(board.at(folder_), recordedWait); }
  std::string target(const std::string& name) const { return shared::targetRootDir + "/" + name; }
  bool inTarget(const std::string& name) const { return std::filesystem::exists(target(name)); }

  // How often each event has been posted, as seen when each recorded event happens.
  std::string posts() const {
    return std::to_string(start.value()) + std::to_string(dontCare.value()) + std::to_string(complete.value());
  }
  void watchPosts() {
    board.onEvent([this](const std::string& event) { seen.push_back(event + " " + posts()); });
  }

  StickBoard board;
  ErrorStreamCapture errors;
  SemaphoreSet start{"TORVA_G_IPC_SEM_START2RX"};
  SemaphoreSet dontCare{"TORVA_G_IPC_SEM_START2RXDUNCARE"};
  SemaphoreSet complete{"TORVA_G_IPC_SEM_RXCOMPLETE"};
  Events seen;

 private:
  std::string folder_;
};

TEST_F(Distribution, WithoutAListFileItStopsSilently) {
  distribute();

  EXPECT_EQ(errors.text(), "");
  EXPECT_EQ(fake::events(), Events());
  EXPECT_EQ(posts(), "000");
}

TEST_F(Distribution, NameOfTheListFileIsConfigured) {
  shared::usbSourceListFile = "other.spt";
  writeList("a#0#x.zip");

  distribute();

  EXPECT_EQ(errors.text(), "");
}

TEST_F(Distribution, NormalTransferIsAnnouncedCopiedMarkedAndCompleted) {
  writeList("a#0#x.zip;b#0#FileList.sys");
  writeSource("x.zip", "layout");
  writeSource("FileList.sys", "list");
  watchPosts();

  distribute();

  EXPECT_EQ(seen, (Events{"sleep 6000 100", "run sudo sync 100", "run sudo sync 100", "run sudo sync 100",
                          "sleep 6000 100"}));
  EXPECT_EQ(posts(), "101");
  EXPECT_EQ(readFile(target("x.zip")), "layout");
  EXPECT_EQ(readFile(target("FileList.sys")), "list");
  EXPECT_TRUE(inTarget("kvXferStop.sys"));
  EXPECT_EQ(errors.text(), banner("a#0#x.zip;b#0#FileList.sys") +
                               "\n-----Starting to copy 2 files.-----"
                               "\n14:3:9.5 Copying [1 of 2]: x.zip..."
                               "\n14:3:9.5 Copying [2 of 2]: FileList.sys..."
                               "\nFile copying finished.");
}

TEST_F(Distribution, DontCareTransferWaitsOneSecond) {
  writeList("a#0#FLDnCare.sys");
  writeSource("FLDnCare.sys", "list");
  watchPosts();

  distribute();

  EXPECT_EQ(seen, (Events{"sleep 1000 010", "run sudo sync 010", "run sudo sync 010", "sleep 6000 010"}));
  EXPECT_EQ(posts(), "011");
}

TEST_F(Distribution, ListWithoutAControlFileIsMarkedAndCompletedAllTheSame) {
  writeList("a#0#x.zip");
  writeSource("x.zip", "layout");
  watchPosts();

  distribute();

  EXPECT_EQ(seen, (Events{"run sudo sync 000", "run sudo sync 000", "sleep 6000 000"}));
  EXPECT_EQ(posts(), "001");
  EXPECT_TRUE(inTarget("kvXferStop.sys"));
}

TEST_F(Distribution, EachFileIsSyncedBeforeTheNextIsCopied) {
  writeList("a#0#x.zip;a#0#y.zip");
  writeSource("x.zip", "x");
  writeSource("y.zip", "y");
  board.onEvent([this](const std::string& /*event*/) {
    seen.push_back(std::string(inTarget("x.zip") ? "x" : "-") + (inTarget("y.zip") ? "y" : "-") +
                   (inTarget("kvXferStop.sys") ? "s" : "-"));
  });

  distribute();

  EXPECT_EQ(seen, (Events{"x--", "xy-", "xys", "xys"}));
}

TEST_F(Distribution, SemicolonsAtTheEndsAreTrimmed) {
  writeList(";;a#0#x.zip;");
  writeSource("x.zip", "layout");

  distribute();

  EXPECT_TRUE(errors.text().starts_with(banner("a#0#x.zip") + "\n-----Starting to copy 1 files.-----"));
  EXPECT_TRUE(inTarget("x.zip"));
}

TEST_F(Distribution, ListWithTheLineEndsOfWindowsIsReadAlike) {
  board.write("/data/home/sda1/KVCFG/1.2.3/KVFILE_XFER_INSTRU.spt",
              "[new_local_dist_task]\r\nfileList = a#0#x.zip;b#0#y.zip\r\n");
  writeSource("x.zip", "x");
  writeSource("y.zip", "y");

  distribute();

  EXPECT_TRUE(errors.text().starts_with(banner("a#0#x.zip;b#0#y.zip")));
  EXPECT_EQ(readFile(target("y.zip")), "y");
}

TEST_F(Distribution, FormatErrorPostsAndCopiesNothing) {
  writeSource("x.zip", "layout");
  for (const char* value : {"a#1#x.zip", "x.zip", "a#0#x.zip;;a#0#FileList.sys", "a#0#x.zip;b#0#FileList.sys#"}) {
    const std::size_t before = errors.text().size();
    writeList(value);

    distribute();

    EXPECT_EQ(errors.text().substr(before), banner(value) + kFormatError);
  }
  EXPECT_EQ(fake::events(), Events());
  EXPECT_EQ(posts(), "000");
  EXPECT_FALSE(inTarget("x.zip"));
}

TEST_F(Distribution, ListOfSemicolonsOnlyIsAFormatError) {
  writeList(";;");

  distribute();

  EXPECT_EQ(errors.text(), banner("") + kFormatError);
}

TEST_F(Distribution, NameThatLeadsOutIsAFormatErrorOfTheWholeList) {
  writeSource("x.zip", "layout");
  for (const char* name : {"../1.0.0/x.zip", "..", "", "sub/../x.zip"}) {
    const std::size_t before = errors.text().size();
    const std::string value = "a#0#x.zip;b#0#FileList.sys;c#0#" + std::string(name);
    writeList(value);

    distribute();

    EXPECT_EQ(errors.text().substr(before), banner(value) + kFormatError);
  }
  EXPECT_EQ(fake::events(), Events());
  EXPECT_EQ(posts(), "000");
  EXPECT_FALSE(inTarget("x.zip"));
}

TEST_F(Distribution, ListThatCannotBeReadOrLacksItsKeyLeavesWithAnException) {
  const std::string list = "/data/home/sda1/KVCFG/1.2.3/KVFILE_XFER_INSTRU.spt";
  board.write(list, "[other]\nfileList = a#0#x.zip\n");
  EXPECT_THROW(distribute(), Poco::NotFoundException);

  std::filesystem::remove(board.at(list));
  board.makeFolder(list);
  EXPECT_THROW(distribute(), Poco::OpenFileException);
  EXPECT_EQ(errors.text(), "");
  EXPECT_EQ(posts(), "000");
}

TEST_F(Distribution, AbsentFileLeavesWithAnExceptionAfterTheAnnouncement) {
  writeList("a#0#FileList.sys;b#0#absent.zip;c#0#x.zip");
  writeSource("FileList.sys", "list");
  writeSource("x.zip", "layout");

  EXPECT_THROW(distribute(), Poco::FileNotFoundException);

  EXPECT_EQ(posts(), "100");
  EXPECT_TRUE(inTarget("FileList.sys"));
  EXPECT_FALSE(inTarget("x.zip"));
  EXPECT_FALSE(inTarget("kvXferStop.sys"));
  EXPECT_TRUE(errors.text().ends_with(" Copying [2 of 3]: absent.zip..."));
}

TEST_F(Distribution, StopMarkerThatIsThereAlreadyStays) {
  writeList("a#0#x.zip");
  writeSource("x.zip", "layout");
  board.write("/data/app/kavenor/Target/kvXferStop.sys", "from the network");

  distribute();

  EXPECT_EQ(posts(), "001");
  EXPECT_TRUE(inTarget("kvXferStop.sys"));
}

TEST_F(Distribution, AnnouncedFilesComeAlsoAfterAStopRequest) {
  writeList("a#0#FileList.sys");
  writeSource("FileList.sys", "list");

  distributeFiles(board.at("/data/home/sda1/KVCFG/1.2.3"), [](long /*milliseconds*/) { return true; });

  EXPECT_TRUE(inTarget("FileList.sys"));
  EXPECT_TRUE(inTarget("kvXferStop.sys"));
  EXPECT_EQ(posts(), "101");
}

}  // namespace
}  // namespace quendal
