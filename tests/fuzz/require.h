// What a fuzz target demands of the code under test; a demand that is not met ends the program.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace quendal::fuzz {

inline void require(bool condition, const char* demand) {
  if (!condition) {
    std::fprintf(stderr, "not met: %s\n", demand);
    std::abort();
  }
}

}  // namespace quendal::fuzz
