// How often a text stands in another.
#pragma once

#include <cstddef>
#include <string>

namespace quendal {

/// The number of places in `text` where `part` begins.
inline std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

}  // namespace quendal
