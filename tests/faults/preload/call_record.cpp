#include "faults/preload/call_record.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <cstring>

namespace faults {
namespace {

constexpr std::uint64_t kHashStart = 0xcbf29ce484222325;
constexpr std::uint64_t kHashFactor = 0x100000001b3;

std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
  hash = (hash ^ value) * kHashFactor;
  return hash ^ (hash >> 29U);
}

std::uint64_t hashOf(const char* text) {
  std::uint64_t hash = kHashStart;
  for (; *text != '\0'; ++text) {
    hash = mix(hash, static_cast<unsigned char>(*text));
  }
  return hash;
}

// The loader's own look-up for unwinders: it neither locks nor allocates.
bool findModule(std::uintptr_t address, dl_find_object& found) {
  return _dl_find_object(reinterpret_cast<void*>(address), &found) == 0;
}

std::uintptr_t ownBase() {
  static const std::uintptr_t kBase = [] {
    dl_find_object found{};
    return findModule(reinterpret_cast<std::uintptr_t>(&ownBase), found)
               ? reinterpret_cast<std::uintptr_t>(found.dlfo_map_start)
               : 0;
  }();
  return kBase;
}

// The number of a loaded module, which may be another in each run; sites are told apart by the modules' names.
std::uint32_t moduleNumber(CallRecord& record, const dl_find_object& found) {
  const auto base = reinterpret_cast<std::uint64_t>(found.dlfo_map_start);
  for (std::uint32_t number = 0; number < kMaxModules; ++number) {
    Module& module = record.modules[number];
    std::uint64_t expected = 0;
    if (module.base.compare_exchange_strong(expected, base)) {
      const char* name = found.dlfo_link_map->l_name;
      std::strncpy(module.path.data(), name, module.path.size() - 1);
      return number;
    }
    if (expected == base) {
      return number;
    }
  }
  return kMaxModules;
}

struct Walk {
  CallRecord& record;
  Stack& stack;
};

_Unwind_Reason_Code takeFrame(_Unwind_Context* context, void* argument) {
  auto& walk = *static_cast<Walk*>(argument);
  const std::uintptr_t address = _Unwind_GetIP(context);
  dl_find_object found{};
  if (!findModule(address, found)) {
    return _URC_END_OF_STACK;
  }
  const auto base = reinterpret_cast<std::uintptr_t>(found.dlfo_map_start);
  if (base == ownBase()) {
    return _URC_NO_REASON;
  }
  Stack& stack = walk.stack;
  const auto offset = static_cast<std::uint32_t>(address - base);
  stack.hash = mix(mix(stack.hash, hashOf(found.dlfo_link_map->l_name)), offset);
  stack.frames[stack.frameCount++] = {.module = moduleNumber(walk.record, found), .offset = offset};
  return stack.frameCount < kMaxFrames ? _URC_NO_REASON : _URC_END_OF_STACK;
}

void describe(CallSite& site, const Stack& stack, const char* call, bool isFirstThread, std::uint32_t order) {
  std::strncpy(site.call.data(), call, site.call.size() - 1);
  site.isFirstThread = isFirstThread ? 1 : 0;
  site.order = order;
  site.frames = stack.frames;
  site.frameCount = stack.frameCount;
}

}  // namespace

CallRecord* mapRecord(const char* path) {
  ownBase();
  const int file = ::open(path, O_RDWR | O_CLOEXEC);
  if (file < 0) {
    return nullptr;
  }
  struct stat status {};
  void* memory = MAP_FAILED;
  if (::fstat(file, &status) == 0 && status.st_size == static_cast<off_t>(sizeof(CallRecord))) {
    memory = ::mmap(nullptr, sizeof(CallRecord), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  }
  ::close(file);
  return memory == MAP_FAILED ? nullptr : static_cast<CallRecord*>(memory);
}

Stack takeStack(CallRecord& record, const char* call) {
  Stack stack{.hash = hashOf(call), .frameCount = 0, .frames = {}};
  Walk walk{.record = record, .stack = stack};
  _Unwind_Backtrace(&takeFrame, &walk);
  stack.hash = std::max<std::uint64_t>(stack.hash, 1);
  return stack;
}

CallSite* findSite(CallRecord& record, const Stack& stack, const char* call, bool isFirstThread) {
  for (std::size_t step = 0; step < kMaxSites; ++step) {
    CallSite& site = record.sites[(stack.hash + step) % kMaxSites];
    std::uint64_t expected = 0;
    if (site.hash.compare_exchange_strong(expected, stack.hash)) {
      describe(site, stack, call, isFirstThread, ++record.siteCount);
      return &site;
    }
    if (expected == stack.hash) {
      return &site;
    }
  }
  ++record.sitesLost;
  return nullptr;
}

}  // namespace faults
