#include "maintenance/stick/package_readback.h"

#include "base/archive_log.h"
#include "base/console.h"
#include "base/folders.h"
#include "base/platform.h"
#include "base/system_commands.h"

#include <Poco/File.h>
#include <Poco/Path.h>

#include <array>
#include <string>

namespace quendal {
namespace {

constexpr const char* kBannerEdge = "###########################################################";

struct Package {
  const char* path;     // relative to the working directory
  const char* banner;   // announces the copy
  const char* logText;  // what the archive log says of it; empty for the archive log itself
};

// The archive log comes last and so holds the lines of the two packages before it.
constexpr std::array<Package, 3> kPackages = {{
    {.path = "../Work/Package_Hub.zip",
     .banner = "######      Copying Package_Hub.zip file......       ######",
     .logText = "Package_Hub.zip read back thru LAN."},
    {.path = "../Work/Package_Lyt.zip",
     .banner = "######      Copying Package_Lyt.zip file......       ######",
     .logText = "Package_Lyt.zip  read back thru LAN."},
    {.path = kArchiveLogPath, .banner = "######       Copying LogZipTmp.dat file......        ######", .logText = ""},
}};

void reportBanner(const std::string& first, const std::string& second) {
  console::line(std::string(kBannerEdge) + "\n" + first + "\n" + second);
}

void offerSourceFolder(const std::string& mountPoint) {
  const std::string path = platform::systemPath(mountPoint);
  if (holdsFile(path)) {
    reportBanner("######       The Plug-in USB Drive NOT empty.        ######",
                 "######             There is No action!               ######");
    return;
  }
  reportBanner("######        The Plug-in USB Drive is EMPTY!        ######",
               "######   Gonna create KVSOURCE Folder for Zip File   ######");
  Poco::File(path + "/KVSOURCE").createDirectory();
}

void copyPackage(const Package& package, const std::string& sourceFolder) {
  if (!Poco::File(package.path).exists()) {
    return;
  }
  console::line(package.banner);
  // By now the folder is the bare mount point's as a rule, on the board's own disk: the drive tells nothing.
  platform::runShell(std::string("sudo cp ") + package.path + " " + sourceFolder + "/",
                     fileSizeProgress(sourceFolder + "/" + Poco::Path(package.path).getFileName()));
  if (*package.logText != '\0') {
    appendToArchiveLog(package.logText);
  }
}

void retrievePackages(const std::string& sourceFolder) {
  reportBanner("######           KVSOURCE found on usb drive!        ######",
               "######    USB Device is retrieving Zipped Source     ######");
  for (const Package& package : kPackages) {
    copyPackage(package, sourceFolder);
  }
  console::line(kBannerEdge);
  syncDisks();
  console::line("Going to reboot device......");
  platform::runShell(kRestartCommand);
}

}  // namespace

void readBackPackages(const std::string& mountPoint) {
  if (isFolder(platform::systemPath(mountPoint + "/KVCFG"))) {
    return;
  }
  const std::string sourceFolder = mountPoint + "/KVSOURCE";
  if (!isFolder(platform::systemPath(sourceFolder))) {
    offerSourceFolder(mountPoint);
  }
  if (isFolder(platform::systemPath(sourceFolder))) {
    retrievePackages(sourceFolder);
  }
}

}  // namespace quendal
