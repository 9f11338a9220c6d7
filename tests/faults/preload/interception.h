// The heart of the preloaded library: counts a call, and says whether this one has to fail.
#pragma once

#include <atomic>
#include <cerrno>

namespace faults {

/// 0, or the error with which the caller's call has to fail. Counts the call. `call` is a literal.
/// Leaves errno alone. Any thread, also while the loader or the allocator is at work.
int faultFor(const char* call);

/// As faultFor, for the allocator: counted only when the plan is about memory.
int memoryFaultFor(const char* call);

/// The function of that name behind this library, kept in `known`.
void* nextFunction(std::atomic<void*>& known, const char* call);

/// The first thread has begun to wait for a request to stop, or has got one.
void noteService();
void noteStop();

}  // namespace faults

// Defines a function of the C library anew. The definition has a name of its own and takes only the symbol's:
// the library's headers declare the same function with other attributes, or inline. PARAMETERS and ARGUMENTS are
// parenthesised; ON_FAULT is the statement that ends a call that has to fail with `fault`.
#define FAULTS_CALL(RESULT, NAME, PARAMETERS, ARGUMENTS, ON_FAULT)                                  \
  extern "C" __attribute__((visibility("default"))) RESULT faults_##NAME PARAMETERS __asm__(#NAME); \
  extern "C" RESULT faults_##NAME PARAMETERS {                                                      \
    static constinit std::atomic<void*> known{nullptr};                                             \
    if (const int fault = faults::faultFor(#NAME); fault != 0) {                                    \
      ON_FAULT                                                                                      \
    }                                                                                               \
    using Function = RESULT PARAMETERS;                                                             \
    return reinterpret_cast<Function*>(faults::nextFunction(known, #NAME)) ARGUMENTS;               \
  }

// The usual kind: one that fails by FAILED and errno, and without having done anything.
#define FAULTS_ERRNO_CALL(RESULT, FAILED, NAME, PARAMETERS, ARGUMENTS) \
  FAULTS_CALL(RESULT, NAME, PARAMETERS, ARGUMENTS, {                   \
    errno = fault;                                                     \
    return FAILED;                                                     \
  })
