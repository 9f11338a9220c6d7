// A file descriptor that is closed by its owner's end.
#pragma once

#include <unistd.h>

#include <utility>

namespace quendal {

/// Owns one descriptor, or none (-1). An error of its close is lost: who needs it releases and closes.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { reset(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor(Descriptor&&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;

  bool isOpen() const { return number_ >= 0; }
  int get() const { return number_; }
  int release() { return std::exchange(number_, -1); }

  /// Closes the descriptor and takes `number` over.
  void reset(int number = -1) {
    if (isOpen()) {
      ::close(number_);
    }
    number_ = number;
  }

 private:
  int number_;
};

}  // namespace quendal
