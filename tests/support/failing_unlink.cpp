#include "support/failing_unlink.h"

#include "support/planned_failures.h"

#include <unistd.h>

namespace quendal::fake {
namespace {

PlannedFailures unlinkFailures;

}  // namespace

void failUnlink(int count, int error) {
  unlinkFailures.plan(0, count, error);
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int __real_unlink(const char* path);

int __wrap_unlink(const char* path) {
  return quendal::fake::unlinkFailures.isNext() ? -1 : __real_unlink(path);
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
