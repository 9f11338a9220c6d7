// What tells that a command which takes its time still gets on: counters that anybody may read.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quendal {

/// A number that changes as long as a command gets on, and stands still when it hangs. It is asked on the thread
/// that waits for the command, a few times a second; it must not throw.
using Progress = std::function<std::uint64_t()>;

/// What a drive or partition, such as "sda1", has completed so far: reads, writes, discards and flushes. Work
/// that has only been handed to it does not count, nor does a drive that is not there.
Progress driveProgress(const std::string& driveName);

/// The size of the file at `path` (absolute).
Progress fileSizeProgress(const std::string& path);

/// How far the system has come with writing out what it holds: counts each MiB by which the rest is smaller than
/// it ever was since this call. Whoever else writes meanwhile lets the rest grow, which is no progress.
Progress writeOutProgress();

/// The completed requests and sectors of a drive's `stat` file; its times and what is under way are left out,
/// since they go on while a drive hangs. Pure.
std::uint64_t completedWork(const std::string& stat);

/// The KiB that wait to be written or are being written, of /proc/meminfo. Pure.
std::uint64_t unwrittenKib(const std::string& meminfo);

/// Counts how far a rest has shrunk.
class ShrinkingRest {
 public:
  explicit ShrinkingRest(std::uint64_t rest) : lowest_(rest) {}

  /// The steps of `step` or more by which the rest has become smaller than ever before.
  std::uint64_t steps(std::uint64_t rest, std::uint64_t step);

 private:
  std::uint64_t lowest_;
  std::uint64_t steps_ = 0;
};

}  // namespace quendal
