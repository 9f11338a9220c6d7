#include "support/failing_read.h"

#include "support/planned_failures.h"

#include <unistd.h>

namespace quendal::fake {
namespace {

PlannedFailures readFailures;

}  // namespace

void failRead(int successes, int error) {
  readFailures.plan(successes, successes < 0 ? 0 : 1, error);
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

ssize_t __real_read(int descriptor, void* buffer, std::size_t size);

ssize_t __wrap_read(int descriptor, void* buffer, std::size_t size) {
  return quendal::fake::readFailures.isNext() ? -1 : __real_read(descriptor, buffer, size);
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
