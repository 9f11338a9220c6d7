// The allocator, which C++ comes to as well. Passed on by the names that the C library keeps for whoever
// replaces these: a look-up of the next function would itself allocate.

#include "faults/preload/interception.h"

#include <cerrno>
#include <cstddef>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

#define MEMORY_CALL(NAME, PARAMETERS, ARGUMENTS)                                                   \
  extern "C" __attribute__((visibility("default"))) void* faults_##NAME PARAMETERS __asm__(#NAME); \
  extern "C" void* faults_##NAME PARAMETERS {                                                      \
    if (const int fault = faults::memoryFaultFor(#NAME); fault != 0) {                             \
      errno = fault;                                                                               \
      return nullptr;                                                                              \
    }                                                                                              \
    return __libc_##NAME ARGUMENTS;                                                                \
  }

MEMORY_CALL(malloc, (std::size_t size), (size))
MEMORY_CALL(calloc, (std::size_t count, std::size_t size), (count, size))
MEMORY_CALL(realloc, (void* memory, std::size_t size), (memory, size))
