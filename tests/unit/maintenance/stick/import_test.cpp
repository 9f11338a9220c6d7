#include "maintenance/stick/import.h"

#include "base/shared_state.h"
#include "maintenance/stick/stick_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/stick_board.h"

#include <Poco/DateTime.h>
#include <gtest/gtest.h>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

const std::string kMountPoint = "/data/home/sda1";
const std::string kSearch = "\nSearching /KVCFG folder in USB Device,\n>>/data/home/sda1/KVCFG......\n";

class StickImport : public testing::Test {
 protected:
  StickImport() {
    fake::setNow(Poco::DateTime(2024, 11, 2, 14, 3, 9).timestamp());
    shared::groupNo = 1;
    shared::columnNo = 2;
    shared::displayNo = 3;
  }

  void makeFolder(const std::string& name) const { board.makeFolder(kMountPoint + "/KVCFG/" + name); }
  void import(bool exportDone = false) const { importConfiguration(kMountPoint, exportDone, recordedWait); }

  StickBoard board;
  ErrorStreamCapture errors;
};

TEST_F(StickImport, WithoutTheFolderNothingHappens) {
  import();

  EXPECT_EQ(errors.text(), kSearch + "\nKVCFG Not found on usb drive!");
  EXPECT_EQ(fake::events(), Events());
}

TEST_F(StickImport, WithoutTheFolderTheDeviceIsRestartedAfterAnExport) {
  import(true);

  EXPECT_EQ(errors.text(), kSearch + "\nKVCFG Not found on usb drive!");
  EXPECT_EQ(fake::events(), Events{"run sudo systemctl reboot -i"});
}

TEST_F(StickImport, FileOfTheFoldersNameIsNoFolder) {
  board.write(kMountPoint + "/KVCFG", "a file");

  import();

  EXPECT_EQ(errors.text(), kSearch + "\nKVCFG Not found on usb drive!");
}

TEST_F(StickImport, NoFittingFolderIsOnlyReported) {
  makeFolder("2.2.3");

  import(true);

  EXPECT_EQ(errors.text(), kSearch +
                               "\nKVCFG found on usb drive!"
                               "\nsub path name:2.2.3\ntoken Number:3\ngId-cId-uId: 2:2:3"
                               "\nmy GroupId-ColumnId-UnitId: 1:2:3\n*0*1*1\n"
                               "\nno match valid folder in KVCFG folder!");
  EXPECT_EQ(fake::events(), Events());
}

TEST_F(StickImport, EmptyFolderHasNoMatch) {
  makeFolder("");

  import();

  EXPECT_EQ(errors.text(), kSearch + "\nKVCFG found on usb drive!\nno match valid folder in KVCFG folder!");
}

TEST_F(StickImport, BestFolderBecomesTheConfigurationFolder) {
  makeFolder("0.0.0");
  makeFolder("1.2.3");
  makeFolder("1.0.0");
  makeFolder("1.2");

  import();

  EXPECT_TRUE(errors.text().ends_with("\n CFGroot:/data/home/sda1/KVCFG/1.2.3/"));
}

TEST_F(StickImport, FileWithAFittingNameIsChosenAsWell) {
  makeFolder("0.0.0");
  board.write(kMountPoint + "/KVCFG/1.2.3", "a file");

  import();

  EXPECT_TRUE(errors.text().ends_with("\n CFGroot:/data/home/sda1/KVCFG/1.2.3/"));
  EXPECT_EQ(fake::events(), Events());
}

TEST_F(StickImport, FilesOfTheChosenFolderAreDistributed) {
  makeFolder("1.2.3");
  board.write(kMountPoint + "/KVCFG/1.2.3/" + shared::usbSourceListFile,
              "[new_local_dist_task]\nfileList = a#0#x.zip\n");
  board.write(kMountPoint + "/KVCFG/1.2.3/x.zip", "layout");

  import();

  EXPECT_EQ(readFile(shared::targetRootDir + "/x.zip"), "layout");
}

}  // namespace
}  // namespace quendal
