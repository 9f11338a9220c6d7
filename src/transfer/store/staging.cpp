#include "transfer/store/staging.h"

#include "transfer/store/staging_folder.h"

#include <Poco/Exception.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

namespace quendal {
namespace {

// By number, as they came: of two names for one place ("a" and "./a") the later file wins.
std::vector<StagedFile> inOrder(const std::map<std::string, std::uint32_t>& numbers) {
  std::vector<StagedFile> files;
  files.reserve(numbers.size());
  for (const auto& [name, number] : numbers) {
    files.push_back({.number = number, .name = name});
  }
  std::sort(files.begin(), files.end(),
            [](const StagedFile& one, const StagedFile& other) { return one.number < other.number; });
  return files;
}

}  // namespace

void Staging::begin(const std::string& target) {
  discard();
  removeStagingFolder(target);
  isOpen_ = true;
  target_ = target;
  failuresBefore_ = writeBack_.failures();
}

Staging::Place Staging::placeFor(const std::string& name) {
  refuseStagingName(target_, name);
  createStagingFolder(target_);
  refuseOtherMount(target_, name);
  return {.folder = target_ + "/" + kStagingFolder, .name = std::to_string(nextNumber_)};
}

void Staging::add(const std::string& name) {
  const auto [entry, isNew] = files_.try_emplace(name, nextNumber_);
  if (!isNew) {
    std::error_code ignored;
    std::filesystem::remove(target_ + "/" + kStagingFolder + "/" + std::to_string(entry->second), ignored);
    entry->second = nextNumber_;
  }
  ++nextNumber_;
}

void Staging::putIntoPlace() {
  try {
    if (writeBack_.failures() != failuresBefore_) {
      throw Poco::WriteFileException("the disk has failed during the transfer");
    }
    if (!files_.empty()) {
      putStagedIntoPlace(target_, inOrder(files_));
    }
  } catch (...) {
    discard();
    throw;
  }
  discard();
}

std::size_t Staging::discard() {
  if (!isOpen_) {
    return 0;
  }
  isOpen_ = false;
  removeStagingFolder(target_);
  nextNumber_ = 0;
  const std::size_t count = files_.size();
  files_.clear();
  return count;
}

}  // namespace quendal
