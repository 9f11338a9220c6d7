#include "support/failing_semop.h"

#include <sys/sem.h>

#include <cerrno>

namespace quendal::fake {
namespace {

int passesLeft = 0;
int failuresLeft = 0;
int failure = 0;

}  // namespace

void failSemop(int passes, int count, int error) {
  passesLeft = passes;
  failuresLeft = count;
  failure = error;
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {

int __real_semop(int set, sembuf* operations, std::size_t count);

int __wrap_semop(int set, sembuf* operations, std::size_t count) {
  using namespace quendal::fake;
  if (passesLeft > 0) {
    --passesLeft;
  } else if (failuresLeft > 0) {
    --failuresLeft;
    errno = failure;
    return -1;
  }
  return __real_semop(set, operations, count);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
