// Error streams with little room whose reader decides when it reads.
#pragma once

#include "base/descriptor.h"
#include "support/redirected_error_stream.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>
#include <string>

namespace quendal {

/// One error stream of `kind` ("pipe", "socket", "terminal"), caught here; nothing is read unless asked for.
class SlowReader {
 public:
  explicit SlowReader(const std::string& kind) : isTerminal_(kind == "terminal") {
    std::array<int, 2> ends{};  // reading, writing
    bool made = false;
    if (kind == "pipe") {
      made = pipe(ends.data()) == 0 && fcntl(ends[1], F_SETPIPE_SZ, 4096) >= 0;
    } else if (kind == "socket") {
      constexpr int kSmallest = 1;
      made = socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0 &&
             setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &kSmallest, sizeof kSmallest) == 0;
    } else {
      made = openpty(ends.data(), &ends[1], nullptr, nullptr, nullptr) == 0 && makeRaw(ends[1]);
    }
    if (!made || fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0) {
      throw std::runtime_error("no " + kind);
    }
    reading_.reset(ends[0]);
    writing_.reset(ends[1]);
    redirected_ = std::make_unique<RedirectedErrorStream>(writing_.get());
  }

  /// Reads at most `limit` bytes of what has come.
  std::string read(std::size_t limit = std::string::npos) {
    std::string text;
    std::array<char, 512> part{};
    while (text.size() < limit) {
      const ssize_t count = ::read(reading_.get(), part.data(), std::min(part.size(), limit - text.size()));
      if (count <= 0) {
        break;
      }
      text.append(part.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

  /// As read, but waits a moment for the first byte: a terminal hands over in its own time what was written.
  std::string readLate() {
    constexpr int kHandOverMs = 100;
    pollfd stream{.fd = reading_.get(), .events = POLLIN, .revents = 0};
    poll(&stream, 1, isTerminal_ ? kHandOverMs : 0);
    return read();
  }

  /// The descriptor that stands at 2 as well, and shares its status flags.
  int shared() const { return writing_.get(); }

  void closeReading() { reading_.reset(); }

 private:
  static bool makeRaw(int terminal) {
    termios settings{};
    if (tcgetattr(terminal, &settings) != 0) {
      return false;
    }
    cfmakeraw(&settings);
    return tcsetattr(terminal, TCSANOW, &settings) == 0;
  }

  bool isTerminal_;
  Descriptor reading_;
  Descriptor writing_;
  std::unique_ptr<RedirectedErrorStream> redirected_;
};

}  // namespace quendal
