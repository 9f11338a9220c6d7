// Preloaded into the service by tests/system/support/disk.py: a disk that takes its time, or fails.
//
// While the folder that QUENDAL_TEST_DISK names holds a file called "hold", syncfs does not return; while it
// holds one called "fail", syncfs fails with EIO. Each one that has returned is a byte in its file "syncs".
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace {

constexpr useconds_t kPollUs = 5000;

std::string control(const char* name) {
  const char* folder = std::getenv("QUENDAL_TEST_DISK");  // NOLINT(concurrency-mt-unsafe)
  return std::string(folder == nullptr ? "/nowhere" : folder) + "/" + name;
}

bool isThere(const char* name) {
  return access(control(name).c_str(), F_OK) == 0;
}

void count() {
  const int file = open(control("syncs").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (file >= 0) {
    static_cast<void>(!write(file, "s", 1));
    close(file);
  }
}

}  // namespace

extern "C" int syncfs(int descriptor) noexcept {
  while (isThere("hold")) {
    usleep(kPollUs);
  }
  const long result = syscall(SYS_syncfs, descriptor);
  count();
  if (isThere("fail")) {
    errno = EIO;
    return -1;
  }
  return static_cast<int>(result);
}
