#include "support/socket_faults.h"

#include <dlfcn.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>

namespace {

std::atomic<int> callsUntilFailure = 0;  // from 1 down; no call fails at 0 and below
std::atomic<bool> receivesFail = false;

bool mustFail() {
  if (--callsUntilFailure != 0) {
    return false;
  }
  errno = EIO;
  return true;
}

template <typename Call>
Call* next(const char* name) {
  return reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace quendal::faults {

void failSocketCall(int number) {
  callsUntilFailure = number;
}

bool hasFailed() {
  return callsUntilFailure <= 0;
}

void failReceives(bool fails) {
  receivesFail = fails;
}

}  // namespace quendal::faults

// The program's own definitions come before the C library's, for the libraries that it links as well.
extern "C" {

int socket(int domain, int type, int protocol) noexcept {
  return mustFail() ? -1 : next<decltype(socket)>("socket")(domain, type, protocol);
}

int bind(int descriptor, const sockaddr* address, socklen_t length) noexcept {
  return mustFail() ? -1 : next<decltype(bind)>("bind")(descriptor, address, length);
}

int setsockopt(int descriptor, int level, int option, const void* value, socklen_t length) noexcept {
  return mustFail() ? -1 : next<decltype(setsockopt)>("setsockopt")(descriptor, level, option, value, length);
}

int getsockopt(int descriptor, int level, int option, void* value, socklen_t* length) noexcept {
  return mustFail() ? -1 : next<decltype(getsockopt)>("getsockopt")(descriptor, level, option, value, length);
}

ssize_t recv(int descriptor, void* buffer, size_t size, int flags) {
  if (receivesFail) {
    errno = EIO;
    return -1;
  }
  return next<decltype(recv)>("recv")(descriptor, buffer, size, flags);
}

ssize_t recvfrom(int descriptor, void* buffer, size_t size, int flags, sockaddr* sender, socklen_t* length) {
  if (receivesFail) {
    errno = EIO;
    return -1;
  }
  return next<decltype(recvfrom)>("recvfrom")(descriptor, buffer, size, flags, sender, length);
}
}
