#include "base/console.h"

#include <Poco/Exception.h>

#include <unistd.h>

#include <cerrno>

namespace quendal::console {

void write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    if (written < 0) {
      if (errno == EINTR) {
        continue;
      }
      return;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void line(std::string_view text) {
  std::string message("\n");
  message.append(text);
  write(message);
}

void failure(std::string_view heading, const std::exception& failure, std::string_view label) {
  std::string message(heading);
  message.append("\n").append(label).append(failureText(failure));
  line(message);
}

std::string failureText(const std::exception& failure) {
  if (const auto* known = dynamic_cast<const Poco::Exception*>(&failure)) {
    return known->displayText();
  }
  return failure.what();
}

}  // namespace quendal::console
