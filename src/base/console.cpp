#include "base/console.h"

#include "base/error_stream.h"

#include <Poco/Exception.h>

#include <mutex>

namespace quendal::console {
namespace {

// The stream, and what it is still owed.
class Console {
 public:
  void write(std::string_view text) {
    const std::scoped_lock lock(mutex_);
    if (text.empty()) {
      return;
    }
    // In one write with the message: where only the notice had room, every second message would be one.
    if (isBetweenMessages() && begin(dropped_ == 0 ? text : notice().append(text))) {
      dropped_ = 0;
    } else {
      ++dropped_;
    }
  }

  void drop() {
    const std::scoped_lock lock(mutex_);
    ++dropped_;
  }

  void flush() {
    const std::scoped_lock lock(mutex_);
    if (isBetweenMessages() && dropped_ > 0 && begin(notice())) {
      dropped_ = 0;
    }
  }

 private:
  // Completes the message whose beginning has left; false: there is still a rest of it.
  bool isBetweenMessages() {
    if (stream_.follow()) {
      rest_.clear();
      dropped_ = 0;
    }
    rest_.erase(0, stream_.write(rest_));
    return rest_.empty();
  }

  std::string notice() const {
    return "\nError stream: " + std::to_string(dropped_) + (dropped_ == 1 ? " message dropped" : " messages dropped");
  }

  // False: nothing of `text` has left. Otherwise all of it will.
  bool begin(std::string_view text) {
    const std::size_t written = stream_.write(text);
    if (written > 0) {
      rest_ = text.substr(written);
    }
    return written > 0;
  }

  std::mutex mutex_;  // no call under it waits
  ErrorStream stream_;
  std::string rest_;                // of a message whose beginning has left
  unsigned long long dropped_ = 0;  // messages since the last one that has left
};

// Never destroyed: what ends after main may still have something to say.
Console& console() {
  static Console& instance = *new Console;
  return instance;
}

// For want of memory a message is dropped as for want of room: whoever reports that something has failed must not
// fail by it.
template <typename Step>
void makeOrDrop(const Step& step) noexcept {
  try {
    step();
  } catch (const std::exception&) {
    console().drop();
  }
}

}  // namespace

void write(std::string_view text) noexcept {
  makeOrDrop([&] { console().write(text); });
}

void line(std::string_view text) noexcept {
  makeOrDrop([&] { console().write(std::string("\n").append(text)); });
}

void failure(std::string_view heading, const std::exception& failure, std::string_view label) noexcept {
  makeOrDrop([&] {
    std::string message("\n");
    message.append(heading).append("\n").append(label).append(failureText(failure));
    console().write(message);
  });
}

void flush() noexcept {
  makeOrDrop([] { console().flush(); });
}

std::string failureText(const std::exception& failure) {
  if (const auto* known = dynamic_cast<const Poco::Exception*>(&failure)) {
    return known->displayText();
  }
  return failure.what();
}

}  // namespace quendal::console
