// Closes a descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace quendal {

/// Owns a descriptor; a negative one, as open() gives it after a failure, is none.
class DescriptorGuard {
 public:
  explicit DescriptorGuard(int descriptor) : descriptor_(descriptor) {}
  ~DescriptorGuard() {
    if (descriptor_ >= 0) {
      ::close(descriptor_);
    }
  }
  DescriptorGuard(const DescriptorGuard&) = delete;
  DescriptorGuard& operator=(const DescriptorGuard&) = delete;
  DescriptorGuard(DescriptorGuard&&) = delete;
  DescriptorGuard& operator=(DescriptorGuard&&) = delete;

  int get() const { return descriptor_; }
  int release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_;
};

}  // namespace quendal
