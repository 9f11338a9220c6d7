#include "support/failing_semop.h"

#include "support/planned_failures.h"

#include <sys/sem.h>

namespace quendal::fake {
namespace {

PlannedFailures semopFailures;

}  // namespace

void failSemop(int passes, int count, int error) {
  semopFailures.plan(passes, count, error);
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int __real_semop(int set, sembuf* operations, std::size_t count);

int __wrap_semop(int set, sembuf* operations, std::size_t count) {
  return quendal::fake::semopFailures.isNext() ? -1 : __real_semop(set, operations, count);
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
