// The standard error stream, caught in memory, so that a test can compare the service's messages whole.
#pragma once

#include <string>

namespace quendal {

/// Takes the error stream of the whole process over while it lives, threads included.
class ErrorStreamCapture {
 public:
  ErrorStreamCapture();
  ~ErrorStreamCapture();
  ErrorStreamCapture(const ErrorStreamCapture&) = delete;
  ErrorStreamCapture& operator=(const ErrorStreamCapture&) = delete;
  ErrorStreamCapture(ErrorStreamCapture&&) = delete;
  ErrorStreamCapture& operator=(ErrorStreamCapture&&) = delete;

  /// Everything written so far, byte for byte.
  std::string text() const;

  /// Waits until another thread has written `part`; false when it has not within five seconds.
  bool waitFor(const std::string& part) const;

 private:
  int saved_;
  int memory_;
};

}  // namespace quendal
