#include "base/command_run.h"

#include "base/child_process.h"
#include "base/console.h"
#include "base/process_group.h"

#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace quendal {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int kNotRun = -1;
constexpr milliseconds kLookInterval{200};
constexpr milliseconds kGroupLookInterval{20};

// The commands that could not be ended. Their shells are children of ours until they end in their own time, and
// would stay as zombies if nobody asked for them.
class LeftBehind {
 public:
  void add(const ChildProcess& child, const std::string& command, std::vector<ProcessIdentity> survivors) {
    const std::scoped_lock lock(mutex_);
    entries_.push_back({child.pid(), child.status().has_value(), command, std::move(survivors)});
  }

  // Forgets those that have ended; does this one still run?
  bool stillRuns(const std::string& command) {
    const std::scoped_lock lock(mutex_);
    std::erase_if(entries_, hasEnded);
    return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.command == command; });
  }

 private:
  struct Entry {
    pid_t shell;
    bool isReaped;
    std::string command;
    std::vector<ProcessIdentity> survivors;
  };

  static bool hasEnded(Entry& entry) {
    entry.isReaped = entry.isReaped || waitpid(entry.shell, nullptr, WNOHANG) != 0;
    std::erase_if(entry.survivors, [](const ProcessIdentity& process) { return !isLiving(process); });
    return entry.isReaped && entry.survivors.empty();
  }

  std::mutex mutex_;
  std::vector<Entry> entries_;
};

LeftBehind& leftBehind() {
  static LeftBehind instance;
  return instance;
}

std::atomic<bool> stopHasEndedACommand{false};

// A moment that may or may not have been.
class Moment {
 public:
  void set() { at_ = Clock::now(); }
  void setOnce() { at_ = at_.value_or(Clock::now()); }

  std::optional<milliseconds> age() const {
    return at_ ? std::optional(std::chrono::duration_cast<milliseconds>(Clock::now() - *at_)) : std::nullopt;
  }

 private:
  std::optional<Clock::time_point> at_;
};

// The wait for one command.
class CommandRun {
 public:
  CommandRun(const CommandRequest& request, const CommandLimits& limits, ChildProcess child)
      : request_(request), limits_(limits), child_(std::move(child)) {
    lastCount_ = progressCount();
    progress_.set();
  }

  int await(const std::function<bool()>& isStopping) {
    CommandStep step = CommandStep::kWait;
    while (step != CommandStep::kLeave && !hasEnded()) {
      look(isStopping());
      step = nextCommandStep(age(), limits_);
      take(step);
    }
    if (step == CommandStep::kLeave) {
      leftBehind().add(child_, request_.command, livingMembers(child_.pid()));
    }
    if (terminated_.age()) {
      report(step == CommandStep::kLeave);
    }
    return child_.status().value_or(kNotRun);
  }

 private:
  // A look for which there is no memory has seen nothing new: the child must not be left alone with that.
  std::uint64_t progressCount() const {
    try {
      return request_.progress ? request_.progress() : 0;
    } catch (const std::bad_alloc&) {
      return lastCount_;
    }
  }

  // Waits until the next look is due; has all ended that has to? What a command leaves behind on purpose, such as
  // a DHCP client, is left alone; one that hangs is ended with all that belongs to it.
  bool hasEnded() {
    if (!child_.awaitEnd(kLookInterval)) {
      return false;
    }
    if (!terminated_.age() || livingMembers(child_.pid()).empty()) {
      return true;
    }
    std::this_thread::sleep_for(kGroupLookInterval);
    return false;
  }

  void look(bool isStopping) {
    if (isStopping) {
      stop_.setOnce();
    }
    if (const std::uint64_t count = progressCount(); count != lastCount_) {
      lastCount_ = count;
      progress_.set();
    }
  }

  CommandAge age() const {
    return {.sinceProgress = progress_.age().value_or(milliseconds(0)),
            .sinceStop = stop_.age(),
            .sinceTermination = terminated_.age(),
            .sinceKilling = killed_.age()};
  }

  void take(CommandStep step) {
    if (step == CommandStep::kTerminate) {
      isEndedByStop_ = age().sinceProgress < limits_.standstill;
      stopHasEndedACommand = stopHasEndedACommand || isEndedByStop_;
      terminated_.set();
      child_.signalGroup(SIGTERM);
    } else if (step == CommandStep::kKill) {
      killed_.set();
      child_.signalGroup(SIGKILL);
    }
  }

  void report(bool isLeft) const {
    std::string text = isLeft ? "Command left behind" : "Command ended";
    if (isEndedByStop_) {
      text += ", the service is stopping";
    } else {
      text += " after " + std::to_string(std::chrono::duration_cast<std::chrono::seconds>(limits_.standstill).count()) +
              (request_.progress ? " s without progress" : " s");
    }
    console::line(text + ":[" + request_.command + "]");
  }

  const CommandRequest& request_;
  const CommandLimits& limits_;
  ChildProcess child_;
  std::uint64_t lastCount_ = 0;
  Moment progress_;
  Moment stop_;
  Moment terminated_;
  Moment killed_;
  bool isEndedByStop_ = false;
};

}  // namespace

int runCommand(const CommandRequest& request, const CommandLimits& limits, const std::function<bool()>& isStopping) {
  if (leftBehind().stillRuns(request.command)) {
    console::line("Command not run, an earlier one still runs:[" + request.command + "]");
    return kNotRun;
  }
  if (stopHasEndedACommand) {
    console::line("Command not run, the service is stopping:[" + request.command + "]");
    return kNotRun;
  }
  std::optional<ChildProcess> child = ChildProcess::start(request.command, request.directory);
  if (!child) {
    return kNotRun;
  }
  return CommandRun(request, limits, std::move(*child)).await(isStopping);
}

}  // namespace quendal
