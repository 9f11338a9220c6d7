#include "base/process_group.h"

#include "base/plain_file.h"

#include <filesystem>
#include <sstream>
#include <system_error>

namespace quendal {
namespace {

namespace fs = std::filesystem;

constexpr int kFieldsFromGroupToStart = 16;
constexpr const char* kDigits = "0123456789";

std::optional<ProcessStat> readStat(const fs::path& folder) {
  return parseProcessStat(readSystemFile(folder / "stat"));
}

}  // namespace

std::optional<ProcessStat> parseProcessStat(const std::string& text) {
  const std::size_t nameEnd = text.rfind(')');
  if (nameEnd == std::string::npos) {
    return std::nullopt;
  }
  ProcessStat stat;
  char state = 0;
  pid_t parent = 0;
  std::istringstream(text) >> stat.identity.pid;
  std::istringstream fields(text.substr(nameEnd + 1));
  fields >> state >> parent >> stat.group;
  std::string skipped;
  for (int field = 0; field < kFieldsFromGroupToStart; ++field) {
    fields >> skipped;
  }
  if (!(fields >> stat.identity.startTime)) {
    return std::nullopt;
  }
  stat.isZombie = state == 'Z' || state == 'X';
  return stat;
}

std::vector<ProcessIdentity> livingMembers(pid_t group) {
  std::vector<ProcessIdentity> members;
  std::error_code gone;
  for (fs::directory_iterator entry("/proc", gone), end; entry != end; entry.increment(gone)) {
    if (entry->path().filename().string().find_first_not_of(kDigits) != std::string::npos) {
      continue;
    }
    const std::optional<ProcessStat> stat = readStat(entry->path());
    if (stat && stat->group == group && !stat->isZombie) {
      members.push_back(stat->identity);
    }
  }
  return members;
}

bool isLiving(const ProcessIdentity& process) {
  const std::optional<ProcessStat> stat = readStat("/proc/" + std::to_string(process.pid));
  return stat && stat->identity == process && !stat->isZombie;
}

}  // namespace quendal
