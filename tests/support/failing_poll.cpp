#include "support/failing_poll.h"

#include "support/planned_failures.h"

#include <poll.h>

namespace quendal::fake {
namespace {

PlannedFailures pollFailures;

}  // namespace

void failPoll(int count, int error) {
  pollFailures.plan(0, count, error);
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int __real_poll(pollfd* files, nfds_t count, int timeout);

int __wrap_poll(pollfd* files, nfds_t count, int timeout) {
  return quendal::fake::pollFailures.isNext() ? -1 : __real_poll(files, count, timeout);
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
