#include "maintenance/stick/package_readback.h"

#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/stick_board.h"

#include <Poco/DateTime.h>
#include <Poco/Exception.h>
#include <gtest/gtest.h>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

const std::string kMountPoint = "/data/home/sda1";

const std::string kEmptyBanner =
    "\n###########################################################"
    "\n######        The Plug-in USB Drive is EMPTY!        ######"
    "\n######   Gonna create KVSOURCE Folder for Zip File   ######";
const std::string kNotEmptyBanner =
    "\n###########################################################"
    "\n######       The Plug-in USB Drive NOT empty.        ######"
    "\n######             There is No action!               ######";
const std::string kRetrieveBanner =
    "\n###########################################################"
    "\n######           KVSOURCE found on usb drive!        ######"
    "\n######    USB Device is retrieving Zipped Source     ######";
const std::string kHubBanner = "\n######      Copying Package_Hub.zip file......       ######";
const std::string kLytBanner = "\n######      Copying Package_Lyt.zip file......       ######";
const std::string kLogBanner = "\n######       Copying LogZipTmp.dat file......        ######";
const std::string kEnd = "\n###########################################################\nGoing to reboot device......";

const std::string kHubLine = "14:03:09\t02/11/2024 - Package_Hub.zip read back thru LAN.\r\n";
const std::string kLytLine = "14:03:09\t02/11/2024 - Package_Lyt.zip  read back thru LAN.\r\n";

class PackageReadBack : public testing::Test {
 protected:
  PackageReadBack() {
    board.makeFolder(kMountPoint);
    fake::setNow(Poco::DateTime(2024, 11, 2, 14, 3, 9).timestamp());
  }

  void writePackages() const {
    board.write("/data/app/kavenor/Work/Package_Hub.zip", "hub");
    board.write("/data/app/kavenor/Work/Package_Lyt.zip", "layout");
  }
  std::string archiveLog() const { return readFile(board.at("/data/app/kavenor/LogZipTmp.dat")); }

  StickBoard board;
};

TEST_F(PackageReadBack, EmptyMountPointGetsTheFolderAndThePackages) {
  writePackages();
  const ErrorStreamCapture errors;

  readBackPackages(kMountPoint);

  EXPECT_TRUE(board.exists(kMountPoint + "/KVSOURCE"));
  EXPECT_EQ(fake::events(), (Events{"run sudo cp ../Work/Package_Hub.zip /data/home/sda1/KVSOURCE/",
                                    "run sudo cp ../Work/Package_Lyt.zip /data/home/sda1/KVSOURCE/",
                                    "run sudo cp ../LogZipTmp.dat /data/home/sda1/KVSOURCE/", "run sudo sync",
                                    "run sudo systemctl reboot -i"}));
  EXPECT_EQ(errors.text(), kEmptyBanner + kRetrieveBanner + kHubBanner + kLytBanner + kLogBanner + kEnd);
  EXPECT_EQ(archiveLog(), kHubLine + kLytLine);
}

TEST_F(PackageReadBack, EachLineIsLoggedAfterItsOwnCopy) {
  writePackages();
  board.write("/data/app/kavenor/LogZipTmp.dat", "earlier\r\n");
  std::vector<std::string> logAtCopy;
  board.onEvent([&](const std::string& event) {
    if (event.starts_with("run sudo cp")) {
      logAtCopy.push_back(archiveLog());
    }
  });

  readBackPackages(kMountPoint);

  EXPECT_EQ(logAtCopy, (Events{"earlier\r\n", "earlier\r\n" + kHubLine, "earlier\r\n" + kHubLine + kLytLine}));
}

TEST_F(PackageReadBack, MissingPackagesAreSkipped) {
  board.write("/data/app/kavenor/Work/Package_Lyt.zip", "layout");
  const ErrorStreamCapture errors;

  readBackPackages(kMountPoint);

  EXPECT_EQ(fake::commands().front(), "sudo cp ../Work/Package_Lyt.zip /data/home/sda1/KVSOURCE/");
  EXPECT_EQ(errors.text(), kEmptyBanner + kRetrieveBanner + kLytBanner + kLogBanner + kEnd);
  EXPECT_EQ(archiveLog(), kLytLine);
}

TEST_F(PackageReadBack, WithoutAnyPackageTheDeviceIsRestartedAllTheSame) {
  const ErrorStreamCapture errors;

  readBackPackages(kMountPoint);

  EXPECT_EQ(fake::events(), (Events{"run sudo sync", "run sudo systemctl reboot -i"}));
  EXPECT_EQ(errors.text(), kEmptyBanner + kRetrieveBanner + kEnd);
  EXPECT_FALSE(board.exists("/data/app/kavenor/LogZipTmp.dat"));
}

TEST_F(PackageReadBack, MountPointWithAFileIsLeftAlone) {
  writePackages();
  board.write(kMountPoint + "/note.txt", "x");
  const ErrorStreamCapture errors;

  readBackPackages(kMountPoint);

  EXPECT_EQ(fake::events(), Events());
  EXPECT_EQ(errors.text(), kNotEmptyBanner);
  EXPECT_FALSE(board.exists(kMountPoint + "/KVSOURCE"));
}

TEST_F(PackageReadBack, FoldersAloneAreNoFile) {
  board.makeFolder(kMountPoint + "/KVLOG");
  const ErrorStreamCapture errors;

  readBackPackages(kMountPoint);

  EXPECT_TRUE(errors.text().starts_with(kEmptyBanner));
}

TEST_F(PackageReadBack, ExistingFolderIsServedWhateverElseIsThere) {
  writePackages();
  board.makeFolder(kMountPoint + "/KVSOURCE");
  board.write(kMountPoint + "/note.txt", "x");
  const ErrorStreamCapture errors;

  readBackPackages(kMountPoint);

  EXPECT_EQ(errors.text(), kRetrieveBanner + kHubBanner + kLytBanner + kLogBanner + kEnd);
}

TEST_F(PackageReadBack, VisibleConfigurationPreventsIt) {
  writePackages();
  board.makeFolder(kMountPoint + "/KVCFG");
  board.makeFolder(kMountPoint + "/KVSOURCE");
  const ErrorStreamCapture errors;

  readBackPackages(kMountPoint);

  EXPECT_EQ(fake::events(), Events());
  EXPECT_EQ(errors.text(), "");
}

TEST_F(PackageReadBack, ArchiveLogThatCannotBeOpenedCostsItsLinesOnly) {
  writePackages();
  board.makeFolder("/data/app/kavenor/LogZipTmp.dat");

  readBackPackages(kMountPoint);

  EXPECT_EQ(fake::commands().size(), 5U);
}

TEST_F(PackageReadBack, MountPointThatIsGoneIsAFailure) {
  EXPECT_THROW(readBackPackages("/data/home/gone"), Poco::Exception);

  EXPECT_EQ(fake::events(), Events());
}

}  // namespace
}  // namespace quendal
