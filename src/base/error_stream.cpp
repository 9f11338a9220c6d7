#include "base/error_stream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace quendal {
namespace {

bool isSameStream(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino && one.st_rdev == other.st_rdev &&
         (one.st_mode & S_IFMT) == (other.st_mode & S_IFMT);
}

bool hasRoom() {
  pollfd stream{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
  return ::poll(&stream, 1, 0) == 1 && (stream.revents & POLLOUT) != 0;
}

}  // namespace

bool ErrorStream::follow() {
  struct stat status {};
  const bool isThere = ::fstat(STDERR_FILENO, &status) == 0;
  if (isThere == (way_ != Way::kNone) && (!isThere || isSameStream(status, status_))) {
    return false;
  }
  own_.reset();
  status_ = status;
  way_ = isThere ? prepare() : Way::kNone;
  return true;
}

ErrorStream::Way ErrorStream::prepare() {
  if (S_ISSOCK(status_.st_mode)) {
    return Way::kSocket;
  }
  if (!S_ISFIFO(status_.st_mode) && !S_ISCHR(status_.st_mode)) {
    return Way::kPlain;
  }
  own_.reset(::open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  return own_.isOpen() ? Way::kOwnDescriptor : Way::kPolled;
}

std::size_t ErrorStream::write(std::string_view text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = writeOnce(text.substr(written));
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      break;
    }
    written += static_cast<std::size_t>(count);
  }
  return written;
}

ssize_t ErrorStream::writeOnce(std::string_view text) const {
  switch (way_) {
    case Way::kPlain:
      return ::write(STDERR_FILENO, text.data(), text.size());
    case Way::kOwnDescriptor:
      return ::write(own_.get(), text.data(), text.size());
    case Way::kSocket:
      return ::send(STDERR_FILENO, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    case Way::kPolled: {
      // Another user's pipe, say, which may be inherited but not opened. What is ready takes PIPE_BUF bytes at
      // once if it is a pipe, and a single one for sure if it is a terminal; only a neighbour on the same stream
      // that fills it in this very moment could still make this wait.
      const std::size_t atOnce = S_ISFIFO(status_.st_mode) ? PIPE_BUF : 1;
      return hasRoom() ? ::write(STDERR_FILENO, text.data(), std::min(text.size(), atOnce)) : 0;
    }
    case Way::kNone:
      break;
  }
  return 0;
}

}  // namespace quendal
