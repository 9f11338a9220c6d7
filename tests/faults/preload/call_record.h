// What the preloaded library finds out, in a file that outlives the process however that ends.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace faults {

/// When a call is made. Threads other than the first one know no start: what they do is service.
enum class Phase : std::uint32_t { kStart, kService, kStop };

constexpr std::size_t kPhases = 3;
constexpr std::size_t kMaxFrames = 24;
constexpr std::size_t kMaxModules = 64;
constexpr std::size_t kMaxSites = 16384;  // a power of two
constexpr std::size_t kCallNameSize = 32;
constexpr std::size_t kModulePathSize = 248;
constexpr std::uint64_t kRecordMagic = 0x3144524f43455246;

/// A return address: which module, and where in it. The same in every run.
struct Frame {
  std::uint32_t module;
  std::uint32_t offset;
};

struct Module {
  std::atomic<std::uint64_t> base;
  std::array<char, kModulePathSize> path;
};

/// One way on which one call is reached: all calls of one name with one stack.
struct CallSite {
  std::atomic<std::uint64_t> hash;  // 0: free
  std::array<char, kCallNameSize> call;
  std::array<std::atomic<std::uint32_t>, kPhases> counts;
  std::uint32_t isFirstThread;
  std::uint32_t order;  // 1 is the site that was reached first
  std::uint32_t frameCount;
  std::array<Frame, kMaxFrames> frames;
};

/// The whole file, which the test process makes beforehand, filled with zeroes. Little-endian, like every board.
struct CallRecord {
  std::uint64_t magic;
  std::atomic<std::uint32_t> faultsMade;
  std::atomic<std::uint32_t> siteCount;
  std::atomic<std::uint32_t> sitesLost;  // because the table was full
  std::uint32_t reserved;
  std::array<Module, kMaxModules> modules;
  std::array<CallSite, kMaxSites> sites;
};

/// Maps the file; null when there is none of the right size.
CallRecord* mapRecord(const char* path);

/// The caller's stack from the first frame outside of this library on, and its hash together with the call's name.
struct Stack {
  std::uint64_t hash;
  std::uint32_t frameCount;
  std::array<Frame, kMaxFrames> frames;
};

/// Allocates nothing, locks nothing and makes no system call. Any thread.
Stack takeStack(CallRecord& record, const char* call);

/// The site's entry, made when it is new; null when the table is full. Any thread.
CallSite* findSite(CallRecord& record, const Stack& stack, const char* call, bool isFirstThread);

}  // namespace faults
