// Semaphores, children, threads, memory maps and waits.

#include "faults/preload/interception.h"

#include <linux/futex.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <time.h>

// These return the error itself.
#define CODED_CALL(NAME, PARAMETERS, ARGUMENTS) FAULTS_CALL(int, NAME, PARAMETERS, ARGUMENTS, return fault;)

FAULTS_ERRNO_CALL(int, -1, semop, (int set, sembuf* operations, size_t count), (set, operations, count))
FAULTS_ERRNO_CALL(int, -1, semtimedop, (int set, sembuf* operations, size_t count, const timespec* timeout),
                  (set, operations, count, timeout))
FAULTS_ERRNO_CALL(int, -1, semctl, (int set, int number, int command, void* argument), (set, number, command, argument))
FAULTS_ERRNO_CALL(int, -1, semget, (key_t key, int count, int flags), (key, count, flags))
FAULTS_ERRNO_CALL(pid_t, -1, waitpid, (pid_t child, int* status, int options), (child, status, options))
FAULTS_ERRNO_CALL(int, -1, kill, (pid_t process, int signal), (process, signal))
FAULTS_ERRNO_CALL(int, -1, getrlimit, (int resource, rlimit* limit), (resource, limit))
FAULTS_ERRNO_CALL(int, -1, getrlimit64, (int resource, void* limit), (resource, limit))
FAULTS_ERRNO_CALL(int, -1, pipe, (int* ends), (ends))
FAULTS_ERRNO_CALL(int, -1, pipe2, (int* ends, int flags), (ends, flags))
FAULTS_ERRNO_CALL(int, -1, dup, (int file), (file))
FAULTS_ERRNO_CALL(int, -1, dup2, (int file, int wanted), (file, wanted))
FAULTS_ERRNO_CALL(void*, reinterpret_cast<void*>(-1), mmap,
                  (void* place, size_t size, int protection, int flags, int file, off_t offset),
                  (place, size, protection, flags, file, offset))
FAULTS_ERRNO_CALL(void*, reinterpret_cast<void*>(-1), mmap64,
                  (void* place, size_t size, int protection, int flags, int file, off64_t offset),
                  (place, size, protection, flags, file, offset))

CODED_CALL(posix_spawn,
           (pid_t * child, const char* program, const posix_spawn_file_actions_t* actions,
            const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment),
           (child, program, actions, attributes, arguments, environment))
CODED_CALL(pthread_create, (pthread_t * thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument),
           (thread, attributes, run, argument))

// A wait that is interrupted says how much of it is left.
FAULTS_CALL(int, clock_nanosleep, (clockid_t clock, int flags, const timespec* time, timespec* remaining),
            (clock, flags, time, remaining), {
              if (remaining != nullptr && flags == 0) {
                *remaining = *time;
              }
              return fault;
            })

FAULTS_CALL(int, nanosleep, (const timespec* time, timespec* remaining), (time, remaining), {
  if (remaining != nullptr) {
    *remaining = *time;
  }
  errno = fault;
  return -1;
})

// What C++ waits with for an atomic or a future; nothing else that is asked for in this way can fail.
extern "C" __attribute__((visibility("default"))) long faults_syscall(long number, long first, long second, long third,
                                                                      long fourth, long fifth,
                                                                      long sixth) __asm__("syscall");
extern "C" long faults_syscall(long number, long first, long second, long third, long fourth, long fifth, long sixth) {
  static constinit std::atomic<void*> known{nullptr};
  const long operation = second & FUTEX_CMD_MASK;
  if (number == SYS_futex && (operation == FUTEX_WAIT || operation == FUTEX_WAIT_BITSET)) {
    if (const int fault = faults::faultFor("futex"); fault != 0) {
      errno = fault;
      return -1;
    }
  }
  using Function = long(long, long, long, long, long, long, long);
  return reinterpret_cast<Function*>(faults::nextFunction(known, "syscall"))(number, first, second, third, fourth,
                                                                             fifth, sixth);
}

// No fault: where the first thread waits for a request to stop, its start is over.
extern "C" __attribute__((visibility("default"))) int faults_sigwait(const sigset_t* signals,
                                                                     int* number) __asm__("sigwait");
extern "C" int faults_sigwait(const sigset_t* signals, int* number) {
  static constinit std::atomic<void*> known{nullptr};
  faults::noteService();
  const int result =
      reinterpret_cast<int (*)(const sigset_t*, int*)>(faults::nextFunction(known, "sigwait"))(signals, number);
  faults::noteStop();
  return result;
}
