#include "network/carrier.h"

#include "base/platform.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace quendal {

bool isCarrierUp(const std::string& path, std::span<char, 5> buffer) {
  std::fill(buffer.begin(), buffer.end(), '\0');
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(platform::systemPath(path).c_str(), "re"),
                                                             &std::fclose);
  if (file == nullptr) {
    return false;
  }
  const bool readable = std::fgets(buffer.data(), static_cast<int>(buffer.size()), file.get()) != nullptr;
  return !readable || buffer[0] != '0';
}

}  // namespace quendal
