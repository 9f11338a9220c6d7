#include "support/failing_eventfd.h"

#include <dlfcn.h>
#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>

namespace quendal::fake {
namespace {

std::atomic<bool> mustFail = false;
std::atomic<int> failures = 0;

}  // namespace

void failEventfd(bool fails) {
  mustFail = fails;
}

int failedEventfds() {
  return failures;
}

}  // namespace quendal::fake

// The program's own definition comes before the C library's, for the libraries that it links as well.
extern "C" int eventfd(unsigned count, int flags) noexcept {
  using namespace quendal::fake;
  if (mustFail) {
    ++failures;
    errno = EMFILE;
    return -1;
  }
  return reinterpret_cast<decltype(eventfd)*>(dlsym(RTLD_NEXT, "eventfd"))(count, flags);
}
