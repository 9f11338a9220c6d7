// The real definition of the platform seam. The commands here change nothing.
#include "base/platform.h"

#include "base/service_task.h"
#include "support/temporary_folder.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>

namespace quendal {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kSoon{5};

bool isOwn(const std::string& host) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  if (::inet_pton(AF_INET, host.c_str(), &address.sin_addr) == 1) {
    return platform::isOwnAddress(reinterpret_cast<const sockaddr&>(address));
  }
  sockaddr_in6 other{};
  other.sin6_family = AF_INET6;
  EXPECT_EQ(::inet_pton(AF_INET6, host.c_str(), &other.sin6_addr), 1) << host;
  return platform::isOwnAddress(reinterpret_cast<const sockaddr&>(other));
}

TEST(OwnAddress, TheWholeLoopbackNetworkIsOne) {
  for (const char* host : {"127.0.0.1", "127.1.2.3", "127.255.255.255"}) {
    EXPECT_TRUE(isOwn(host)) << host;
  }
}

// Networks for documents are nobody's.
TEST(OwnAddress, OtherHostsAreNone) {
  for (const char* host : {"192.0.2.1", "203.0.113.255", "2001:db8::1"}) {
    EXPECT_FALSE(isOwn(host)) << host;
  }
}

TEST(OwnAddress, WhatTheSystemDoesNotTellIsTakenForOne) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);

  const bool isOwnAddress = isOwn("192.0.2.1");

  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_TRUE(isOwnAddress);
}

TEST(RunShell, ReturnsTheWaitStatus) {
  EXPECT_EQ(platform::runShell("exit 0"), 0);
  EXPECT_EQ(platform::runShell("exit 3"), 3 * 256);
  EXPECT_EQ(platform::runShell("/no/such/program 2> /dev/null"), 127 * 256);
}

TEST(RunShell, StatusTellsWhichSignalEndedTheCommand) {
  const int status = platform::runShell("kill -KILL $$");

  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(RunShell, ShellReadsTheWholeCommandLine) {
  const TemporaryFolder folder;

  platform::runShell("cd " + folder.path() + " && echo 'a  b' | tr a c > out; echo $((1 + 1)) >> out");

  EXPECT_EQ(readFile(folder.path() + "/out"), "c  b\n2\n");
}

TEST(RunShell, ChildHasDefaultSignalsAndAnEmptyMask) {
  const TemporaryFolder folder;
  sigset_t signals{};
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGQUIT, SIGPIPE}) {
    sigaddset(&signals, signal);
  }
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &signals, nullptr), 0);
  ASSERT_NE(std::signal(SIGHUP, SIG_IGN), SIG_ERR);

  platform::runShell("sed -n 's/Sig[BI][lg][kn]://p' /proc/self/status > " + folder.path() + "/out");

  // The C library itself keeps two real-time signals ignored in a child; nobody else can send them.
  constexpr unsigned long long kLibrarySignals = 0x180000000;
  std::istringstream out(readFile(folder.path() + "/out"));
  unsigned long long blocked = 1;
  unsigned long long ignored = 1;
  out >> std::hex >> blocked >> ignored;
  EXPECT_EQ(blocked, 0U);
  EXPECT_EQ(ignored & ~kLibrarySignals, 0U);
}

TEST(RunShell, CommandCanBeTerminatedFromAThreadThatBlocksTermination) {
  sigset_t signals{};
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &signals, nullptr), 0);

  const int status = platform::runShell("kill -TERM $$; exit 3");

  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(RunShell, ChildHasNoneOfOurDescriptors) {
  const TemporaryFolder folder;
  ASSERT_EQ(dup2(STDERR_FILENO, 3), 3);
  ASSERT_EQ(dup2(STDERR_FILENO, 77), 77);

  platform::runShell("exec ls /proc/self/fd > " + folder.path() + "/out");

  EXPECT_EQ(readFile(folder.path() + "/out"), "0\n1\n2\n3\n") << "3 is the listed folder itself";
}

TEST(RunShell, CallsDoNotWaitForEachOther) {
  const TemporaryFolder folder;
  const std::string fifo = folder.path() + "/fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), S_IRUSR | S_IWUSR), 0);

  // The one ends only when the other runs beside it.
  int readStatus = -1;
  std::thread reader([&] { readStatus = platform::runShell("timeout 5 cat " + fifo + " > /dev/null"); });
  const int writeStatus = platform::runShell("timeout 5 sh -c 'echo go > " + fifo + "'");
  reader.join();

  EXPECT_EQ(writeStatus, 0);
  EXPECT_EQ(readStatus, 0);
}

TEST(RunShellIn, CommandRunsInTheDirectoryAndTheCallerStaysInItsOwn) {
  const TemporaryFolder folder;
  const std::filesystem::path own = std::filesystem::current_path();

  EXPECT_EQ(platform::runShellIn(folder.path(), "pwd > out; exit 3"), 3 * 256);

  EXPECT_EQ(readFile(folder.path() + "/out"), folder.path() + "\n");
  EXPECT_EQ(std::filesystem::current_path(), own);
}

TEST(RunShellIn, WithoutTheDirectoryTheCommandRunsNowhere) {
  const TemporaryFolder folder;

  EXPECT_EQ(platform::runShellIn(folder.path() + "/absent", "touch " + folder.path() + "/out"), -1);

  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/out"));
}

TEST(RunShellIn, WaitsForItsOwnChildOnly) {
  const TemporaryFolder folder;
  const pid_t other = fork();
  if (other == 0) {
    _exit(7);
  }
  ASSERT_GT(other, 0);

  EXPECT_EQ(platform::runShellIn(folder.path(), "exit 0"), 0);

  int status = 0;
  EXPECT_EQ(waitpid(other, &status, 0), other);
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(Platform, SleepWaitsAtLeastItsTime) {
  const auto start = Clock::now();

  platform::sleepMs(2);

  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(2));
}

TEST(Platform, NowIsTheWallClock) {
  const Poco::Timestamp before;
  const Poco::Timestamp now = platform::now();
  const Poco::Timestamp after;

  EXPECT_LE(before, now);
  EXPECT_LE(now, after);
}

TEST(Platform, SystemPathsAreTheSystemsOwn) {
  EXPECT_EQ(platform::systemPath("/etc/resolv.conf"), "/etc/resolv.conf");
}

class WaitingTask : public ServiceTask {
 public:
  WaitingTask() : ServiceTask("WaitingTask", stopReq) {}
  void runTask() override { wasCancelled = sleepMs(waitMs); }
  bool cancelSeen() const { return mustStop(); }

  Flag stopReq = false;
  long waitMs = 60000;
  bool wasCancelled = false;
};

TEST(ServiceTask, WaitThatNobodyCancelsRunsItsTime) {
  WaitingTask task;
  task.waitMs = 1;

  task.runTask();

  EXPECT_FALSE(task.wasCancelled);
  EXPECT_FALSE(task.cancelSeen());
}

TEST(ServiceTask, CancelWakesItFromItsWait) {
  WaitingTask task;
  const auto start = Clock::now();
  std::thread thread([&] { task.runTask(); });

  task.cancel();
  thread.join();

  EXPECT_TRUE(task.wasCancelled);
  EXPECT_LT(Clock::now() - start, kSoon);
}

TEST(ServiceTask, CancelBeforeItsThreadHasBegunIsNotForgotten) {
  WaitingTask task;
  const auto start = Clock::now();
  task.cancel();

  task.run();
  task.runTask();

  EXPECT_TRUE(task.cancelSeen());
  EXPECT_TRUE(task.wasCancelled);
  EXPECT_LT(Clock::now() - start, kSoon);
}

}  // namespace
}  // namespace quendal
