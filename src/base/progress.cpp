#include "base/progress.h"

#include "base/plain_file.h"
#include "base/platform.h"

#include <array>
#include <filesystem>
#include <memory>
#include <sstream>
#include <system_error>

namespace quendal {
namespace {

constexpr std::uint64_t kKibInMib = 1024;
constexpr const char* kMemoryInfo = "/proc/meminfo";

// The fields of a drive's stat file that count what has been completed, from 0: requests and sectors read,
// written and discarded, and flushes.
constexpr std::array<std::size_t, 7> kCompletedFields = {0, 2, 4, 6, 11, 13, 15};

std::string readText(const std::string& path) {
  return readSystemFile(platform::systemPath(path));
}

// The number behind `key` and its colon.
std::uint64_t valueOf(const std::string& text, const std::string& key) {
  const std::size_t at = text.find("\n" + key + ":");
  std::uint64_t value = 0;
  if (at != std::string::npos) {
    std::istringstream(text.substr(at + key.size() + 2)) >> value;
  }
  return value;
}

}  // namespace

std::uint64_t completedWork(const std::string& stat) {
  std::istringstream fields(stat);
  std::uint64_t sum = 0;
  std::size_t wanted = 0;
  std::uint64_t value = 0;
  for (std::size_t field = 0; wanted < kCompletedFields.size() && fields >> value; ++field) {
    if (field == kCompletedFields.at(wanted)) {
      sum += value;
      ++wanted;
    }
  }
  return sum;
}

std::uint64_t unwrittenKib(const std::string& meminfo) {
  return valueOf(meminfo, "Dirty") + valueOf(meminfo, "Writeback");
}

std::uint64_t ShrinkingRest::steps(std::uint64_t rest, std::uint64_t step) {
  if (rest + step <= lowest_) {
    lowest_ = rest;
    ++steps_;
  }
  return steps_;
}

Progress driveProgress(const std::string& driveName) {
  return [path = "/sys/class/block/" + driveName + "/stat"] { return completedWork(readText(path)); };
}

Progress fileSizeProgress(const std::string& path) {
  return [path] {
    std::error_code absent;
    const std::uintmax_t size = std::filesystem::file_size(platform::systemPath(path), absent);
    return absent ? 0 : size;
  };
}

Progress writeOutProgress() {
  const auto rest = std::make_shared<ShrinkingRest>(unwrittenKib(readText(kMemoryInfo)));
  return [rest] { return rest->steps(unwrittenKib(readText(kMemoryInfo)), kKibInMib); };
}

}  // namespace quendal
