#include "support/failing_unlink.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace quendal::fake {
namespace {

std::atomic<int> failuresLeft = 0;
std::atomic<int> nextError = 0;

}  // namespace

void failUnlink(int count, int error) {
  nextError = error;
  failuresLeft = count;
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {

int __real_unlink(const char* path);

int __wrap_unlink(const char* path) {
  using namespace quendal::fake;
  if (failuresLeft > 0) {
    --failuresLeft;
    errno = nextError;
    return -1;
  }
  return __real_unlink(path);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
