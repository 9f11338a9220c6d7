#include "support/fake_platform.h"

#include "base/platform.h"
#include "base/service_task.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

namespace quendal {
namespace fake {
namespace {

struct Recorder {
  std::mutex mutex;
  std::vector<std::string> events;
  std::set<std::string> patient;
  std::function<void(const std::string&)> observer;
  int shellStatus = 0;
  std::optional<Poco::Timestamp> now;
  std::string root;
  std::function<int(int)> sync;
  in_addr_t ownAddress = 0;
};

Recorder& recorder() {
  static Recorder& instance = *new Recorder;  // never destroyed: a thread may still be syncing at the process's end
  return instance;
}

void record(const std::string& event) {
  std::function<void(const std::string&)> observer;
  {
    const std::scoped_lock lock(recorder().mutex);
    recorder().events.push_back(event);
    observer = recorder().observer;
  }
  if (observer) {
    observer(event);
  }
  std::this_thread::yield();  // a poll that waits for another thread must let it run
}

// A test that fell back to the machine's clock would pass or fail by the hour of the day. Said on the standard output,
// where the name of the test stands in the line above: the error stream may be captured.
[[noreturn]] void endWithoutClock() {
  std::fputs("The clock is read, and this test has not set it: call fake::setNow() first.\n", stdout);
  std::fflush(stdout);
  std::abort();
}

}  // namespace

void reset() {
  const std::scoped_lock lock(recorder().mutex);
  recorder().events.clear();
  recorder().patient.clear();
  recorder().observer = nullptr;
  recorder().shellStatus = 0;
  recorder().now.reset();
  recorder().root.clear();
  recorder().sync = nullptr;
  recorder().ownAddress = 0;
}

std::vector<std::string> events() {
  const std::scoped_lock lock(recorder().mutex);
  return recorder().events;
}

std::vector<std::string> commands() {
  const std::string prefix = "run ";
  std::vector<std::string> result;
  for (const std::string& event : events()) {
    if (event.starts_with(prefix)) {
      result.push_back(event.substr(prefix.size()));
    }
  }
  return result;
}

std::set<std::string> patientCommands() {
  const std::scoped_lock lock(recorder().mutex);
  return recorder().patient;
}

void onEvent(std::function<void(const std::string& event)> observer) {
  const std::scoped_lock lock(recorder().mutex);
  recorder().observer = std::move(observer);
}

void setShellStatus(int status) {
  const std::scoped_lock lock(recorder().mutex);
  recorder().shellStatus = status;
}

void setNow(const Poco::Timestamp& time) {
  const std::scoped_lock lock(recorder().mutex);
  recorder().now = time;
}

void onSync(std::function<int(int descriptor)> sync) {
  const std::scoped_lock lock(recorder().mutex);
  recorder().sync = std::move(sync);
}

void setOwnAddress(const std::string& address) {
  const std::scoped_lock lock(recorder().mutex);
  recorder().ownAddress = ::inet_addr(address.c_str());
}

void setSystemRoot(const std::string& folder) {
  const std::scoped_lock lock(recorder().mutex);
  recorder().root = folder;
}

}  // namespace fake

namespace platform {

int runShell(const std::string& command, const Progress& progress) {
  fake::record("run " + command);
  const std::scoped_lock lock(fake::recorder().mutex);
  if (progress) {
    fake::recorder().patient.insert(command);
  }
  return fake::recorder().shellStatus;
}

int runShellIn(const std::string& directory, const std::string& command, const Progress& progress) {
  return runShell("[" + directory + "] " + command, progress);
}

int syncFileSystem(int descriptor) {
  std::function<int(int)> sync;
  {
    const std::scoped_lock lock(fake::recorder().mutex);
    sync = fake::recorder().sync;
  }
  return sync ? sync(descriptor) : 0;
}

void sleepMs(long milliseconds) {
  fake::record("sleep " + std::to_string(milliseconds));
}

Poco::Timestamp now() {
  const std::scoped_lock lock(fake::recorder().mutex);
  if (!fake::recorder().now) {
    fake::endWithoutClock();
  }
  return *fake::recorder().now;
}

bool isOwnAddress(const sockaddr& address) {
  const std::scoped_lock lock(fake::recorder().mutex);
  return address.sa_family == AF_INET &&
         reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr == fake::recorder().ownAddress;
}

std::string systemPath(const std::string& path) {
  const std::scoped_lock lock(fake::recorder().mutex);
  return fake::recorder().root + path;
}

}  // namespace platform

bool ServiceTask::sleepMs(long milliseconds) {
  fake::record("wait " + std::to_string(milliseconds));
  return mustStop();
}

}  // namespace quendal
