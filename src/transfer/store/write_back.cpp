#include "transfer/store/write_back.h"

#include "base/console.h"
#include "base/descriptor.h"
#include "base/platform.h"

#include <Poco/Error.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace quendal {
namespace {

constexpr std::chrono::milliseconds kInterval{1000};
constexpr std::chrono::milliseconds kPoll{100};
constexpr std::chrono::milliseconds kAtTheEnd{1000};

struct FileSystem {
  dev_t device;
  int descriptor;
  std::string folder;
};

std::optional<dev_t> deviceOf(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 ? std::optional(status.st_dev) : std::nullopt;
}

int openFolder(const std::string& folder) {
  return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

// What to ask the disk of `file` by; -1 with errno. The folder is better than the file itself, which would hold
// its space after it has been replaced. But it may not be readable, or something else be mounted on it by now.
int openForSync(int file, const std::string& folder) {
  Descriptor descriptor(openFolder(folder));
  if (descriptor.get() >= 0 && deviceOf(descriptor.get()) == deviceOf(file)) {
    return descriptor.release();
  }
  return ::fcntl(file, F_DUPFD_CLOEXEC, 0);
}

}  // namespace

struct WriteBack::State {
  mutable std::mutex mutex;
  std::condition_variable changed;
  std::vector<FileSystem> fileSystems;  // those with something to write
  Ticket stored = 0;
  Ticket written = 0;
  Ticket urgent = 0;  // as far as somebody waits
  unsigned failures = 0;
  bool writing = false;
  bool running = false;

  // All of these need the lock.
  bool knows(dev_t device) const {
    return std::any_of(fileSystems.begin(), fileSystems.end(),
                       [device](const FileSystem& one) { return one.device == device; });
  }
  void fail(const std::string& folder, int error) noexcept {
    ++failures;
    try {
      console::line("Received files cannot be written to the disk: " + folder + ": " + Poco::Error::getMessage(error));
    } catch (const std::bad_alloc&) {
      console::line("Received files cannot be written to the disk");
    }
  }
  bool isClean() const { return !writing && written == stored; }
  void closeAll() {
    for (const FileSystem& one : fileSystems) {
      ::close(one.descriptor);
    }
    fileSystems.clear();
  }
};

WriteBack::WriteBack() : state_(std::make_shared<State>()) {}

WriteBack::~WriteBack() {
  await(request(), std::chrono::steady_clock::now() + kAtTheEnd, [] { return false; });
}

WriteBack::Writing::Writing(WriteBack& writeBack) : writeBack_(writeBack) {
  const std::scoped_lock lock(writeBack_.state_->mutex);
  writeBack_.state_->writing = true;
}

WriteBack::Writing::~Writing() {
  const std::scoped_lock lock(writeBack_.state_->mutex);
  writeBack_.state_->writing = false;
  ++writeBack_.state_->stored;
}

void WriteBack::Writing::intoFile(int descriptor, const std::string& path) const {
  writeBack_.watch(descriptor, path.substr(0, path.rfind('/') + 1));
}

void WriteBack::Writing::intoFolder(const std::string& folder) const {
  const Descriptor opened(openFolder(folder));
  if (opened.get() < 0) {
    const int error = errno;
    const std::scoped_lock lock(writeBack_.state_->mutex);
    writeBack_.state_->fail(folder, error);
    return;
  }
  writeBack_.watch(opened.get(), folder);
}

// A file system is kept open from before its first write until after the sync behind the last one, and no
// longer: an error is told to each descriptor that was there before it, and an idle service holds no disk that
// somebody wants to unmount.
void WriteBack::watch(int file, const std::string& folder) {
  const std::optional<dev_t> device = deviceOf(file);
  const int noDevice = errno;
  const std::scoped_lock lock(state_->mutex);
  if (!device) {
    state_->fail(folder, noDevice);
    return;
  }
  if (!state_->knows(*device)) {
    const int descriptor = openForSync(file, folder);
    if (descriptor < 0) {
      state_->fail(folder, errno);
      return;
    }
    state_->fileSystems.push_back({.device = *device, .descriptor = descriptor, .folder = folder});
  }
  startThread();
}

// Needs the lock. Where no thread can be started, the next file tries again, and whoever waits does.
void WriteBack::startThread() {
  if (state_->running) {
    return;
  }
  try {
    std::thread([state = state_] { run(*state); }).detach();  // a hanging disk must not hold the process's end
    state_->running = true;
  } catch (const std::system_error&) {
  }
}

WriteBack::Ticket WriteBack::request() {
  const std::scoped_lock lock(state_->mutex);
  state_->urgent = state_->stored;
  state_->changed.notify_all();
  return state_->stored;
}

bool WriteBack::await(Ticket ticket, TimePoint limit, const std::function<bool()>& ended) {
  std::unique_lock lock(state_->mutex);
  while (state_->written < ticket) {
    if (ended() || std::chrono::steady_clock::now() >= limit) {
      return false;
    }
    startThread();
    state_->changed.wait_for(lock, kPoll);
  }
  return true;
}

unsigned WriteBack::failures() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->failures;
}

// The thread: once a second, and at once for whoever waits, until nothing has been stored since the last time.
void WriteBack::run(State& state) {
  std::unique_lock lock(state.mutex);
  do {
    state.changed.wait_for(lock, kInterval, [&state] { return state.urgent > state.written; });
    const Ticket ticket = state.stored;
    for (std::size_t number = 0; number < state.fileSystems.size(); ++number) {
      const int descriptor = state.fileSystems[number].descriptor;
      lock.unlock();  // entries are only added meanwhile
      const int error = platform::syncFileSystem(descriptor);
      lock.lock();
      if (error != 0) {
        state.fail(state.fileSystems[number].folder, error);
      }
    }
    state.written = ticket;
    state.changed.notify_all();
  } while (!state.isClean());
  state.closeAll();
  state.running = false;
}

}  // namespace quendal
