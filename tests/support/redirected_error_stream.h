// The standard error stream on a descriptor of the test's, for as long as this lives.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

namespace quendal {

/// Puts `target` at descriptor 2, or closes that when `target` is -1; the end puts back what stood there.
class RedirectedErrorStream {
 public:
  explicit RedirectedErrorStream(int target) : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO)) {
    if (saved_ < 0 || (target < 0 ? close(STDERR_FILENO) : dup2(target, STDERR_FILENO)) < 0) {
      throw std::runtime_error("the error stream cannot be redirected");
    }
  }
  ~RedirectedErrorStream() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
  }
  RedirectedErrorStream(const RedirectedErrorStream&) = delete;
  RedirectedErrorStream& operator=(const RedirectedErrorStream&) = delete;
  RedirectedErrorStream(RedirectedErrorStream&&) = delete;
  RedirectedErrorStream& operator=(RedirectedErrorStream&&) = delete;

 private:
  int saved_;
};

}  // namespace quendal
