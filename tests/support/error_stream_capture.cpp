#include "support/error_stream_capture.h"

#include "support/eventually.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace quendal {

ErrorStreamCapture::ErrorStreamCapture()
    : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO)), memory_(memfd_create("stderr", MFD_CLOEXEC)) {
  if (saved_ < 0 || memory_ < 0 || dup2(memory_, STDERR_FILENO) < 0) {
    throw std::runtime_error("the error stream cannot be taken over");
  }
}

ErrorStreamCapture::~ErrorStreamCapture() {
  dup2(saved_, STDERR_FILENO);
  close(saved_);
  close(memory_);
}

std::string ErrorStreamCapture::text() const {
  std::string text;
  std::array<char, 4096> chunk{};
  for (;;) {
    const ssize_t count = pread(memory_, chunk.data(), chunk.size(), static_cast<off_t>(text.size()));
    if (count <= 0) {
      return text;
    }
    text.append(chunk.data(), static_cast<std::size_t>(count));
  }
}

bool ErrorStreamCapture::waitFor(const std::string& part) const {
  return eventually([&] { return text().find(part) != std::string::npos; });
}

}  // namespace quendal
