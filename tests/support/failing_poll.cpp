#include "support/failing_poll.h"

#include <poll.h>

#include <atomic>
#include <cerrno>

namespace quendal::fake {
namespace {

std::atomic<int> failuresLeft = 0;
std::atomic<int> nextError = 0;

}  // namespace

void failPoll(int count, int error) {
  nextError = error;
  failuresLeft = count;
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {

int __real_poll(pollfd* files, nfds_t count, int timeout);

int __wrap_poll(pollfd* files, nfds_t count, int timeout) {
  using namespace quendal::fake;
  if (failuresLeft > 0) {
    --failuresLeft;
    errno = nextError;
    return -1;
  }
  return __real_poll(files, count, timeout);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
