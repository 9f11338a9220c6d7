#include "support/failing_read.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace quendal::fake {
namespace {

std::atomic<int> countdown = -1;  // the reads to go until the one that fails; negative: none does
std::atomic<int> nextError = 0;

}  // namespace

void failRead(int successes, int error) {
  nextError = error;
  countdown = successes;
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {

ssize_t __real_read(int descriptor, void* buffer, std::size_t size);

ssize_t __wrap_read(int descriptor, void* buffer, std::size_t size) {
  using namespace quendal::fake;
  if (countdown >= 0 && countdown-- == 0) {
    errno = nextError;
    return -1;
  }
  return __real_read(descriptor, buffer, size);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
