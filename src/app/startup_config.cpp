#include "app/startup_config.h"

#include "app/startup_reports.h"
#include "base/console.h"
#include "base/ini_file.h"
#include "base/platform.h"
#include "base/shared_state.h"
#include "maintenance/stick/stick_state.h"
#include "multicast/multicast_state.h"
#include "network/address_setup.h"
#include "network/network_state.h"
#include "transfer/store/store_state.h"
#include "transfer/transfer_state.h"
#include "video/video_source.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <fstream>

namespace quendal {
namespace {

using Poco::Util::IniFileConfiguration;

constexpr const char* kServiceIni = "../Work/Quendal_L.ini";
constexpr const char* kStaticAddressIni = "../Work/IPAddress.ini";
constexpr const char* kLayoutIni = "../Work/CurLayOut.cfg";
constexpr const char* kDipIni = "/data/home/kavenor/Work/DIP.ini";

constexpr const char* kAllowedSendersKey = "Tessane Param.allowedSenders";

// The interface's name stands in the command as it always has, also on boards that use another.
constexpr const char* kStopDhcpClient = "sudo ps | grep dhcp | grep [e]th0 | awk '{print $1}' | xargs kill -9";

void createMissing(const std::string& directory, const char* message) {
  Poco::File file(directory);
  if (!file.exists()) {
    console::line(message);
    file.createDirectory();
  }
}

void createDirectories(const std::string& parent) {
  createMissing(parent + "/Dest", "Dest dir does not exist;creating...done!");
  createMissing(parent + "/Work", "Work dir does not exist;creating...done!");
}

void readStaticAddress() {
  const IniFile ini = loadIniFile(kStaticAddressIni);
  shared::staticIp = ini->getString("IP");
  shared::staticNetmask = ini->getString("NetworkMask");
  shared::staticGateway = ini->getString("DefaultGateway");
  shared::staticDns = ini->getString(ini->hasProperty("DNS") ? "DNS" : "DefaultGateway");
}

// A file that cannot be written leaves the name servers as they were.
void writeResolvConf() {
  std::ofstream file(platform::systemPath("/etc/resolv.conf"), std::ios::trunc);
  file << "nameserver 8.8.8.8\nnameserver " << shared::staticDns << "\n";
}

// Runs before "ethernet.interface" is read, so a static address always goes to the default interface.
void applyStaticAddress() {
  readStaticAddress();
  writeResolvConf();
  platform::runShell("sync");
  platform::runShell(kStopDhcpClient);
  platform::runShell(kStopDhcpClient);
  setStaticAddress(shared::staticIp, shared::staticNetmask, shared::staticGateway);
  shared::staticIpMode = true;
}

void readInterface(const IniFileConfiguration& ini) {
  if (ini.hasProperty("ethernet.interface")) {
    shared::netIfName = ini.getString("ethernet.interface");
    shared::carrierFilePath = "/sys/class/net/" + shared::netIfName + "/carrier";
    console::line("using interface:" + shared::netIfName + "\ncarrier sig:" + shared::carrierFilePath);
  }
}

// A text that is no address leaves the group at the IPv4 wildcard; that is reported and no error.
void readMulticastGroup(const std::string& text) {
  console::line("lcdMcastIp in ini:" + text + "\n\n");
  Poco::Net::IPAddress::tryParse(text, shared::mcGroupAddress);
  console::line("lcdMcastIp in ini,after convert:" + shared::mcGroupAddress.toString());
}

void readTransferParameters(const IniFileConfiguration& ini) {
  shared::mcPort = static_cast<std::uint16_t>(ini.getInt("Tessane Param.lcdMcastPort"));
  shared::mcTtl = ini.getInt("Tessane Param.MTTL", shared::mcTtl);
  shared::mcRstHrFactor = ini.getInt("Tessane Param.mcRstHrFactor", shared::mcRstHrFactor);
  shared::mcReplyByTcp = ini.getString("Tessane Param.McastReplyByTCP", "") == "true";
  shared::dataPort = static_cast<std::uint16_t>(ini.getInt("Tessane Param.lcdDataPort"));
  shared::dataPortValue = shared::dataPort;
  shared::idFilePath = ini.getString("Tessane Param.kvIdFile");
}

void readIdentity() {
  const IniFile ini = loadIniFile(shared::idFilePath);
  shared::groupNo = static_cast<std::uint16_t>(ini->getInt("GROUPNO"));
  shared::columnNo = static_cast<std::uint16_t>(ini->getInt("COLUMNNO"));
  shared::displayNo = static_cast<std::uint16_t>(ini->getInt("DISPLAYNO"));
  console::line(identityReport(shared::groupNo, shared::columnNo, shared::displayNo));
}

void reportDipSwitch() {
  DipSetting setting;
  const std::string path = platform::systemPath(kDipIni);
  if (Poco::File(path).exists()) {
    const IniFile ini = loadIniFile(path);
    setting = parseDipSetting(ini->getString("DIP_Byte0", ""));
  }
  console::write(dipReport(setting));
}

void reportOrientation() {
  const IniFile ini = loadIniFile(kLayoutIni);
  console::write(orientationReport(ini->getInt("Panel.Orientation")));
}

void readTargets(const IniFileConfiguration& ini) {
  shared::targetRootDir = "/" + ini.getString("Tessane Param.targetRootDir");
  shared::usbSourceListFile = ini.getString("Tessane Param.usbSourceListFile", shared::usbSourceListFile);
}

void readStoreMode(const IniFileConfiguration& ini) {
  const std::string mode = ini.getString("Tessane Param.storeMode", "direct");
  if (mode != "direct" && mode != "staged") {
    throw Poco::InvalidArgumentException("Tessane Param.storeMode must be direct or staged", mode);
  }
  shared::stagedTransfers = mode == "staged";
}

void readAllowedSenders(const IniFileConfiguration& ini) {
  if (!ini.hasProperty(kAllowedSendersKey)) {
    return;
  }
  try {
    shared::allowedSenders = SenderList::parse(ini.getString(kAllowedSendersKey));
  } catch (const Poco::InvalidArgumentException& refused) {
    throw Poco::InvalidArgumentException(kAllowedSendersKey, refused.message());
  }
}

void readVideoStream(const IniFileConfiguration& ini) {
  if (ini.hasProperty("Tessane Param.videoMcIp")) {
    watchVideoStream(ini.getString("Tessane Param.videoMcIp"));
  }
}

void readServiceIni() {
  const IniFile ini = loadIniFile(kServiceIni);
  const std::string group = ini->getString("Tessane Param.lcdMcastIp");
  readInterface(*ini);
  readMulticastGroup(group);
  readTransferParameters(*ini);
  readIdentity();
  reportDipSwitch();
  reportOrientation();
  readTargets(*ini);
  readStoreMode(*ini);
  readAllowedSenders(*ini);
  readVideoStream(*ini);
}

}  // namespace

int loadStartupConfig() {
  createDirectories("..");
  createDirectories(Poco::Path::temp());
  shared::tempDestDir = Poco::Path::temp() + "/Dest";

  if (!Poco::File(kServiceIni).exists()) {
    console::line("Quendal_L.ini does not exist in Work dir;quit...done!");
    return kExitNoConfiguration;
  }
  if (Poco::File(kStaticAddressIni).exists()) {
    try {
      applyStaticAddress();
    } catch (const Poco::Exception&) {
      console::line("static ip file parsing error, exit...");
      return kExitBadStaticAddress;
    }
  }
  try {
    readServiceIni();
  } catch (const Poco::Exception& failure) {
    // Named after McTask although no task runs yet: the text that support staff look for.
    console::failure("McTask: Exception Met!", failure);
    return kExitBadConfiguration;
  }
  return 0;
}

}  // namespace quendal
