#include "faults/preload/interception.h"

#include "faults/preload/call_record.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cstdlib>

namespace faults {
namespace {

constexpr int kHexadecimal = 16;
constexpr int kDecimal = 10;
constexpr const char* kRecordVariable = "FAULTS_RECORD";
constexpr const char* kPlanVariable = "FAULTS_PLAN";

// The one fault of a run: the n-th call from one site in one phase.
struct Plan {
  std::uint64_t site;
  std::uint32_t phase;
  std::uint32_t number;
  int error;
};

constinit CallRecord* record = nullptr;
constinit Plan plan{};
constinit bool memoryIsCounted = false;
constinit std::atomic<Phase> phase{Phase::kStart};
pthread_t firstThread;

// Unwinding may come to functions that are counted.
constinit thread_local bool isCounting = false;

class CountingGuard {
 public:
  CountingGuard() { isCounting = true; }
  ~CountingGuard() { isCounting = false; }
  CountingGuard(const CountingGuard&) = delete;
  CountingGuard& operator=(const CountingGuard&) = delete;
  CountingGuard(CountingGuard&&) = delete;
  CountingGuard& operator=(CountingGuard&&) = delete;
};

Phase phaseOfThisThread(bool isFirstThread) {
  const Phase now = phase;
  return now == Phase::kStart && !isFirstThread ? Phase::kService : now;
}

// "site phase number error memory", the site in hexadecimal. A site of 0 is none: the run only counts.
void readPlan(const char* text) {
  char* rest = nullptr;
  plan.site = std::strtoull(text, &rest, kHexadecimal);
  plan.phase = static_cast<std::uint32_t>(std::strtoul(rest, &rest, kDecimal));
  plan.number = static_cast<std::uint32_t>(std::strtoul(rest, &rest, kDecimal));
  plan.error = static_cast<int>(std::strtol(rest, &rest, kDecimal));
  memoryIsCounted = std::strtol(rest, &rest, kDecimal) != 0;
}

// Before main. Children get neither the library nor its plan: only the service itself is to fail.
__attribute__((constructor)) void begin() {
  const char* path = std::getenv(kRecordVariable);
  const char* text = std::getenv(kPlanVariable);
  if (path == nullptr || text == nullptr) {
    return;
  }
  readPlan(text);
  firstThread = pthread_self();
  CallRecord* mapped = mapRecord(path);
  for (const char* name : {kRecordVariable, kPlanVariable, "LD_PRELOAD"}) {
    unsetenv(name);
  }
  if (mapped == nullptr) {
    std::abort();  // a run without faults would look like a good one
  }
  mapped->magic = kRecordMagic;
  record = mapped;
}

int countedFaultFor(const char* call) {
  if (record == nullptr || isCounting) {
    return 0;
  }
  const CountingGuard guard;
  const bool isFirstThread = pthread_equal(pthread_self(), firstThread) != 0;
  const Stack stack = takeStack(*record, call);
  CallSite* site = findSite(*record, stack, call, isFirstThread);
  if (site == nullptr) {
    return 0;
  }
  const auto now = static_cast<std::uint32_t>(phaseOfThisThread(isFirstThread));
  const std::uint32_t number = ++site->counts[now];
  if (stack.hash != plan.site || now != plan.phase || number != plan.number) {
    return 0;
  }
  ++record->faultsMade;
  return plan.error;
}

}  // namespace

int faultFor(const char* call) {
  return memoryIsCounted ? 0 : countedFaultFor(call);
}

int memoryFaultFor(const char* call) {
  return memoryIsCounted ? countedFaultFor(call) : 0;
}

void* nextFunction(std::atomic<void*>& known, const char* call) {
  void* function = known;
  if (function == nullptr) {
    function = dlsym(RTLD_NEXT, call);
    known = function;
  }
  return function;
}

void noteService() {
  phase = Phase::kService;
}

void noteStop() {
  phase = Phase::kStop;
}

}  // namespace faults
