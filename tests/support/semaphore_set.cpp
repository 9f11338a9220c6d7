#include "support/semaphore_set.h"

#include <sys/ipc.h>
#include <sys/sem.h>

#include <cstdlib>
#include <stdexcept>

namespace quendal {
namespace {

constexpr int kOwnerMayChange = 0600;

}  // namespace

SemaphoreSet::SemaphoreSet(const std::string& variable)
    : variable_(variable), semId_(semget(IPC_PRIVATE, 1, IPC_CREAT | kOwnerMayChange)) {
  if (semId_ < 0) {
    throw std::runtime_error("no semaphore can be created");
  }
  setenv(variable_.c_str(), std::to_string(semId_).c_str(), 1);
}

SemaphoreSet::~SemaphoreSet() {
  unsetenv(variable_.c_str());
  remove();
}

int SemaphoreSet::value() const {
  return semctl(semId_, 0, GETVAL);
}

bool SemaphoreSet::take() {
  sembuf operation{0, -1, IPC_NOWAIT};
  return semop(semId_, &operation, 1) == 0;
}

void SemaphoreSet::remove() {
  if (semId_ >= 0) {
    semctl(semId_, 0, IPC_RMID);
    semId_ = -1;
  }
}

}  // namespace quendal
