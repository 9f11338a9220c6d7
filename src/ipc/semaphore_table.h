// The seven System V semaphores by which the service wakes the display application.
//
// The display creates them and exports their identifiers, one environment variable per event; the
// service only looks them up and posts. It never creates, initialises or removes one by itself.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace quendal {

/// The events, by the number under which callers name them.
enum IpcEvent : std::uint32_t {
  kStart2Rx = 256,            // a transfer is about to start
  kStart2RxDontCare = 257,    // a transfer is starting that the display need not react to
  kRxComplete = 258,          // a transfer is complete
  kNetworkUp = 259,           // the network came up
  kNetworkDown = 260,         // the network is down
  kVideoContextChange = 261,  // the video context changed; nobody posts it
  kNetworkUtilityDown = 262,  // the video multicast stream is gone
};

struct IpcSemaphoreEntry {
  std::uint32_t id;                 // an IpcEvent
  std::array<char, 64> name;        // the environment variable, zero-terminated
  std::atomic<std::int32_t> semId;  // 0 until first looked up; -1 while the variable is not set
};

using IpcSemaphoreTable = std::array<IpcSemaphoreEntry, 7>;

/// The process's one table. Several threads may post at the same time: an entry's semId is the only
/// thing that changes, and every post stores what it reads from the same variable.
extern IpcSemaphoreTable ipcSemaphoreTable;

/// Index 0..6 of the entry whose id is `id`, or -1.
int findSemaphoreIndex(std::uint32_t id);

/// Fills every entry's semId from its environment variable, -1 where the variable is not set.
/// Called once by the start-up.
void loadSemaphoreIds();

/// Posts the semaphore of event `id`: reads the variable again, stores the identifier and adds 1 to
/// semaphore number 0 of that set with SEM_UNDO; again when a signal interrupts that, and up to four
/// times, 100 ms apart, when the kernel has no memory for it.
///
/// Returns 0 when posted and also when the variable is not set; the identifier itself when it is
/// negative; -1 for an unknown id or when the kernel refuses (no such set, no permission, the
/// semaphore stands at its maximum). Writes nothing.
int postIpcSemaphore(std::uint32_t id);

/// Takes 1 from semaphore number 0 of set `semId` with SEM_UNDO, waiting until it can.
/// Returns semop()'s result, also when a signal has interrupted it.
int waitIpcSemaphore(int semId);

/// Removes the set `semId`; a failure is reported on the error stream.
void removeIpcSemaphore(int semId);

/// Writes the last words for a communication port that is closed because of `code`: -1 to -4 name a
/// read or write error, any other is a signal number.
void reportCommError(int code);

}  // namespace quendal
