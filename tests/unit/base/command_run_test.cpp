// Real processes under short limits: what hangs is ended whole, and what stays behind on purpose is left alone.
#include "base/command_run.h"

#include "support/error_stream_capture.h"
#include "support/eventually.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <string>

namespace quendal {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kLong{30000};
constexpr CommandLimits kShort{.standstill = milliseconds(300),
                               .stopping = milliseconds(300),
                               .termination = milliseconds(300),
                               .killing = milliseconds(300)};
constexpr CommandLimits kPatient{
    .standstill = kLong, .stopping = kLong, .termination = kLong, .killing = milliseconds(300)};

// From here on the kernel refuses this process each signal that it wants to send.
void forbidSignals() {
  std::array<sock_filter, 4> program = {{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_kill, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
  const sock_fprog filter{.len = program.size(), .filter = program.data()};
  ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

class CommandRunTest : public testing::Test {
 protected:
  int run(const std::string& command, const CommandLimits& limits, const Progress& progress = {}) {
    const auto start = Clock::now();
    const int status =
        runCommand({.command = command, .directory = {}, .progress = progress}, limits, [this] { return stop.load(); });
    took = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
    return status;
  }

  pid_t pidIn(const std::string& name) const { return std::stoi(readFile(folder.path() + "/" + name)); }

  // Before the next look, which would come after 200 ms? A busy machine may take that long once or twice.
  bool endIsSeenAtOnce(const std::string& command) {
    return eventually([&] {
      EXPECT_EQ(run(command, kPatient), 3 * 256);
      return took < milliseconds(190);
    });
  }

  // A zombie counts as alive: nobody has asked for it.
  static bool isAlive(pid_t pid) { return ::kill(pid, 0) == 0; }

  static bool hasChildren() { return waitpid(-1, nullptr, WNOHANG) >= 0; }

  TemporaryFolder folder;
  ErrorStreamCapture errors;
  std::atomic<bool> stop{false};
  milliseconds took{0};
};

TEST_F(CommandRunTest, OneThatEndsIsSeenAtOnceAndSaysNothing) {
  EXPECT_TRUE(endIsSeenAtOnce("sleep 0.03; exit 3"));

  EXPECT_EQ(errors.text(), "");
  EXPECT_FALSE(hasChildren());
}

TEST_F(CommandRunTest, OneThatHangsIsEndedAndNamed) {
  EXPECT_EQ(run("exec sleep 1000", kShort), SIGTERM);

  EXPECT_GE(took, milliseconds(300));
  EXPECT_LT(took, kLong);
  EXPECT_EQ(errors.text(), "\nCommand ended after 0 s:[exec sleep 1000]");
  EXPECT_FALSE(hasChildren());
}

TEST_F(CommandRunTest, OneThatIgnoresTheTerminationIsKilledWithItsWholeGroup) {
  const std::string command =
      "cd " + folder.path() + "; trap '' TERM; echo $$ > shell; sleep 1000 & echo $! > child; while :; do wait; done";

  const int status = run(command, kShort);

  EXPECT_EQ(status, SIGKILL);
  EXPECT_TRUE(eventually([&] { return !isAlive(pidIn("child")) && !isAlive(pidIn("shell")); }));
  EXPECT_FALSE(hasChildren());
  EXPECT_EQ(errors.text(), "\nCommand ended after 0 s:[" + command + "]");
}

// The shell goes at SIGTERM, and what it has started does not.
TEST_F(CommandRunTest, ChildThatOutlivesItsShellIsKilledAsWell) {
  const std::string command =
      "cd " + folder.path() + "; sh -c 'trap \"\" TERM; echo $$ > child; while :; do sleep 0.01; done'; true";

  EXPECT_EQ(run(command, kShort), SIGTERM);

  EXPECT_TRUE(eventually([&] { return !isAlive(pidIn("child")); }));
}

TEST_F(CommandRunTest, OneThatEndsItselfWhenAskedHasItsTimeForThat) {
  CommandLimits limits = kPatient;
  limits.standstill = milliseconds(200);

  EXPECT_EQ(run("trap 'sleep 0.1; exit 5' TERM; while :; do sleep 0.01; done", limits), 5 * 256);
}

TEST_F(CommandRunTest, DaemonThatACommandLeavesBehindGoesOnLiving) {
  EXPECT_EQ(run("cd " + folder.path() + "; sleep 1000 & echo $! > daemon", kShort), 0);

  const pid_t daemon = pidIn("daemon");
  EXPECT_TRUE(isAlive(daemon));
  EXPECT_EQ(errors.text(), "");
  ::kill(daemon, SIGKILL);
}

TEST_F(CommandRunTest, ProgressKeepsOneForAsLongAsItGetsOn) {
  std::uint64_t count = 0;

  EXPECT_EQ(run("sleep 1", kShort, [&] { return ++count; }), 0);

  EXPECT_GE(took, milliseconds(1000));
  EXPECT_EQ(errors.text(), "");
}

TEST_F(CommandRunTest, OneWhoseProgressStandsStillIsEnded) {
  std::uint64_t count = 0;

  EXPECT_EQ(run("exec sleep 1000", kShort, [&] { return std::min<std::uint64_t>(++count, 4); }), SIGTERM);

  EXPECT_GT(took, milliseconds(800)) << "it got on for four looks";
  EXPECT_EQ(errors.text(), "\nCommand ended after 0 s without progress:[exec sleep 1000]");
}

TEST_F(CommandRunTest, StopEndsOneInItsTimeAndNothingIsStartedBehindIt) {
  CommandLimits limits = kShort;
  limits.standstill = kLong;
  stop = true;

  EXPECT_EQ(run("exec sleep 1000", limits), SIGTERM);
  EXPECT_EQ(run("touch " + folder.path() + "/late", limits), -1);

  EXPECT_EQ(errors.text(),
            "\nCommand ended, the service is stopping:[exec sleep 1000]"
            "\nCommand not run, the service is stopping:[touch " +
                folder.path() + "/late]");
}

TEST_F(CommandRunTest, StopLeavesShortOnesTheirWay) {
  stop = true;

  EXPECT_EQ(run("exit 1", kShort), 256);
  EXPECT_EQ(run("exit 2", kShort), 2 * 256);
}

TEST_F(CommandRunTest, OneThatMayNotBeSignalledIsLeftBehindAndNotStartedTwiceAndReapedLater) {
  forbidSignals();
  const std::string command = "cd " + folder.path() + "; echo >> runs; while [ ! -e end ]; do sleep 0.01; done";

  EXPECT_EQ(run(command, kShort), -1);
  EXPECT_LT(took, kLong);
  EXPECT_EQ(run(command, kShort), -1);
  EXPECT_EQ(readFile(folder.path() + "/runs"), "\n");
  EXPECT_EQ(run("exit 0", kShort), 0) << "others are run";
  EXPECT_EQ(errors.text(), "\nCommand left behind after 0 s:[" + command +
                               "]\nCommand not run, an earlier one still runs:[" + command + "]");

  folder.writeFile("end", "");
  EXPECT_TRUE(eventually([&] {
    run("exit 0", kShort);
    return !hasChildren();
  }));
  EXPECT_EQ(run(command, kShort), 0) << "it may be run again";
}

// As the shell of a command does that runs sudo for another user than root: it goes, and root's process stays.
TEST_F(CommandRunTest, OneWhoseShellHasGoneIsLeftBehindAllTheSameWhileItsProcessRuns) {
  forbidSignals();
  const auto awaited = [this](const std::string& name) {
    return "while [ -d " + folder.path() + " ] && [ ! -e " + name + " ]; do sleep 0.01; done";
  };
  const std::string command = "cd " + folder.path() + "; (" + awaited("end") + ") & " + awaited("go") + "; exit 3";
  CommandLimits limits = kShort;
  limits.termination = milliseconds(2000);
  const auto start = Clock::now();
  bool isTerminated = false;

  const int status = runCommand({.command = command, .directory = {}, .progress = {}}, limits, [&] {
    if (isTerminated) {
      folder.writeFile("go", "");
    }
    isTerminated = Clock::now() - start > 2 * limits.standstill;  // by the look that asks here
    return false;
  });

  EXPECT_EQ(status, 3 * 256);
  EXPECT_EQ(run(command, kShort), -1);
  EXPECT_EQ(errors.text(), "\nCommand left behind after 0 s:[" + command +
                               "]\nCommand not run, an earlier one still runs:[" + command + "]");

  folder.writeFile("end", "");
  EXPECT_TRUE(eventually([&] { return run(command, kPatient) == 3 * 256; }));
}

// pidfd_open fails as on a kernel that does not know it.
TEST_F(CommandRunTest, WithoutADescriptorForItTheEndIsSeenAllTheSame) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const int next = dup(STDERR_FILENO);
  ::close(next);
  const rlimit none{static_cast<rlim_t>(next), before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);

  const bool isSeenAtOnce = endIsSeenAtOnce("exit 3");
  const int ended = run("exec sleep 1000", kShort);

  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_TRUE(isSeenAtOnce);
  EXPECT_EQ(ended, SIGTERM);
}

TEST_F(CommandRunTest, MissingDirectoryIsNoStart) {
  EXPECT_EQ(runCommand({.command = "exit 0", .directory = folder.path() + "/absent", .progress = {}}, kShort,
                       [] { return false; }),
            -1);
}

}  // namespace
}  // namespace quendal
