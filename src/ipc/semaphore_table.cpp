#include "ipc/semaphore_table.h"

#include "base/console.h"
#include "base/interrupted_call.h"
#include "base/platform.h"

#include <sys/ipc.h>
#include <sys/sem.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <string>

namespace quendal {

IpcSemaphoreTable ipcSemaphoreTable = {{
    {kStart2Rx, {"TORVA_G_IPC_SEM_START2RX"}, 0},
    {kStart2RxDontCare, {"TORVA_G_IPC_SEM_START2RXDUNCARE"}, 0},
    {kRxComplete, {"TORVA_G_IPC_SEM_RXCOMPLETE"}, 0},
    {kNetworkUp, {"TORVA_G_IPC_SEM_NETW_UP"}, 0},
    {kNetworkDown, {"TORVA_G_IPC_SEM_NETW_DN"}, 0},
    {kVideoContextChange, {"TORVA_G_IPC_SEM_VIDEO_CONTEXT_CHANGE"}, 0},
    {kNetworkUtilityDown, {"TORVA_G_IPC_SEM_NETW_UTIL_DN"}, 0},
}};

namespace {

constexpr int kDecimal = 10;
constexpr short kLargestUndoTaken = 16384;
constexpr int kAttemptsWithoutMemory = 5;
constexpr long kWaitForMemoryMs = 100;

// Looks the entry's variable up and stores the identifier that it holds; false: it is not set.
bool refreshSemaphoreId(IpcSemaphoreEntry& entry) {
  // Nothing in the process changes the environment, so the look-up needs no lock.
  const char* value = std::getenv(entry.name.data());  // NOLINT(concurrency-mt-unsafe)
  entry.semId = value == nullptr ? -1 : static_cast<std::int32_t>(std::strtol(value, nullptr, kDecimal));
  return value != nullptr;
}

int addWithUndo(int semId, short amount) {
  sembuf operation{0, amount, SEM_UNDO};
  return semop(semId, &operation, 1);
}

// A signal between must not cost an event, nor a moment without memory for the kernel's note of the first post.
int post(int semId) {
  const auto postOnce = [semId] { return retryInterrupted([semId] { return addWithUndo(semId, 1); }); };
  int result = postOnce();
  for (int attempt = 1; attempt < kAttemptsWithoutMemory && result < 0 && errno == ENOMEM; ++attempt) {
    platform::sleepMs(kWaitForMemoryMs);
    result = postOnce();
  }
  return result;
}

// The kernel keeps the sum of this process's posts, to take them back when it ends, and refuses the
// 32,769th although the display has consumed them all. Two opposite operations in one atomic call,
// only the second with SEM_UNDO, shrink that sum and leave the semaphore as it is. The first of the
// two must fit below the semaphore's own maximum, so a value that already stands high takes a
// smaller step.
bool shrinkUndoAdjustment(int semId) {
  for (short amount = kLargestUndoTaken; amount > 0; amount = static_cast<short>(amount / 2)) {
    std::array<sembuf, 2> operations = {{{0, amount, 0}, {0, static_cast<short>(-amount), SEM_UNDO}}};
    if (retryInterrupted([&] { return semop(semId, operations.data(), operations.size()); }) == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

int findSemaphoreIndex(std::uint32_t id) {
  for (std::size_t index = 0; index < ipcSemaphoreTable.size(); ++index) {
    if (ipcSemaphoreTable.at(index).id == id) {
      return static_cast<int>(index);
    }
  }
  return -1;
}

void loadSemaphoreIds() {
  for (IpcSemaphoreEntry& entry : ipcSemaphoreTable) {
    refreshSemaphoreId(entry);
  }
}

int postIpcSemaphore(std::uint32_t id) {
  const int index = findSemaphoreIndex(id);
  if (index < 0) {
    return -1;
  }
  IpcSemaphoreEntry& entry = ipcSemaphoreTable.at(static_cast<std::size_t>(index));
  if (!refreshSemaphoreId(entry)) {
    return 0;
  }
  const std::int32_t semId = entry.semId;
  if (semId < 0) {
    return semId;
  }
  const int result = post(semId);
  if (result < 0 && errno == ERANGE && shrinkUndoAdjustment(semId)) {
    return post(semId);
  }
  return result;
}

int waitIpcSemaphore(int semId) {
  return addWithUndo(semId, -1);
}

void removeIpcSemaphore(int semId) {
  if (semctl(semId, 0, IPC_RMID) < 0) {
    console::write("\r\nFailed to remove IPC-sysV sem_id:" + std::to_string(semId) + "\r\n!");
  }
}

void reportCommError(int code) {
  switch (code) {
    case -1:
      console::write("Read error on tty. Closing communication port\n");
      break;
    case -2:
      console::write("Write error on output. Closing communication port\n");
      break;
    case -3:
      console::write("Read error on input file. Closing communication port\n");
      break;
    case -4:
      console::write("Write error on tty. Closing communication port\n");
      break;
    default:
      console::write("TorvaLCD :Got signal " + std::to_string(code) + ". Closing communication port\n");
  }
}

}  // namespace quendal
