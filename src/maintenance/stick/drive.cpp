#include "maintenance/stick/drive.h"

#include "base/text.h"

#include <Poco/Ascii.h>

#include <algorithm>
#include <sstream>
#include <string_view>

namespace quendal {
namespace {

constexpr std::string_view kStick = "sd";
constexpr std::string_view kFirstPartition = "1";
constexpr std::string_view kMemoryCard = "mmc";
constexpr std::size_t kPartitionNameSize = 4;  // "sda1"; a whole drive's name, "sda", is shorter
constexpr std::size_t kDriveNameSize = 3;

// The name goes into shell commands, where anything else could be a command of its own.
bool isShellSafe(std::string_view name) {
  return std::all_of(name.begin(), name.end(),
                     [](char letter) { return Poco::Ascii::isAlphaNumeric(static_cast<unsigned char>(letter)); });
}

bool isStickName(std::string_view name, std::size_t minimumSize) {
  return name.size() >= minimumSize && contains(name, kStick) && !contains(name, kMemoryCard) && isShellSafe(name);
}

}  // namespace

std::string chooseDrive(const std::vector<std::string>& blockNames) {
  std::string drive;
  for (const std::string& name : blockNames) {
    if (!contains(name, kStick) || !isShellSafe(name)) {
      continue;
    }
    drive = name;
    if (contains(name, kFirstPartition)) {
      break;
    }
  }
  return drive;
}

PartitionLine parsePartitionLine(const std::string& line) {
  PartitionLine partition;
  std::istringstream fields(line);
  fields >> partition.majorNo >> partition.minorNo >> partition.blocks >> partition.name;
  return partition;
}

std::string partitionReport(const std::string& line, const PartitionLine& partition) {
  return "\r\n" + line + "\r\n" + std::to_string(partition.majorNo) + "," + std::to_string(partition.minorNo) + "," +
         std::to_string(partition.blocks) + "," + partition.name;
}

bool isStickPartition(const std::string& name) {
  return isStickName(name, kPartitionNameSize);
}

std::string preferPartition(const std::string& name, const std::string& lastSdName) {
  return contains(name, kStick) && contains(name, kFirstPartition) ? name : lastSdName;
}

bool isStickDrive(const std::string& name) {
  return isStickName(name, kDriveNameSize);
}

std::string mountPointOf(const std::string& name) {
  return "/data/home/" + name;
}

std::string driveFoundReport(const std::string& name) {
  return "USB drive found: [/dev/" + name + "]";
}

std::string unmountCommand(const std::string& mountPoint) {
  return "sudo umount " + mountPoint;
}

std::string makeMountPointCommand(const std::string& name) {
  return "sudo mkdir -p " + mountPointOf(name);
}

std::string mountCommand(const std::string& name) {
  return "sudo mount -t vfat /dev/" + name + " -w " + mountPointOf(name);
}

}  // namespace quendal
