// Which block device is the technician's stick, and the commands that attach and release it. Pure.
//
// Every name accepted here is made of ASCII letters and digits only, since it becomes part of shell
// commands.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quendal {

/// The drive among the block devices, in the order in which the kernel lists them: the first "sd" name
/// with a "1" in it, which is a partition, else the last "sd" name; empty when there is no stick.
std::string chooseDrive(const std::vector<std::string>& blockNames);

/// One line of the kernel's list of partitions; fields that the line does not have are 0 or empty.
struct PartitionLine {
  int majorNo = 0;
  int minorNo = 0;
  std::int64_t blocks = 0;
  std::string name;

  bool operator==(const PartitionLine&) const = default;
};

PartitionLine parsePartitionLine(const std::string& line);

/// The report of a line: as it was read, with its own line end, and what was understood of it.
std::string partitionReport(const std::string& line, const PartitionLine& partition);

/// Is this the name of a partition on a stick? The board's own memory card ("mmc") never is.
bool isStickPartition(const std::string& name);

/// The name to go on with: `name` when it has both "sd" and "1" in it, else `lastSdName`, the one that
/// chooseDrive ended with.
std::string preferPartition(const std::string& name, const std::string& lastSdName);

/// Is this a drive that may be released and then counts as plugged?
bool isStickDrive(const std::string& name);

/// Where the drive is mounted: "/data/home/<name>".
std::string mountPointOf(const std::string& name);

std::string driveFoundReport(const std::string& name);
std::string unmountCommand(const std::string& mountPoint);
std::string makeMountPointCommand(const std::string& name);
std::string mountCommand(const std::string& name);

}  // namespace quendal
