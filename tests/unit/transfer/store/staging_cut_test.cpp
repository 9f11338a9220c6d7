// The service is killed at each single system call of putting staged files into place, and started again.
#include "unit/transfer/store/staging_fixture.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quendal {
namespace {

// Runs `work` in a child process and kills it at its stop number `last`; there are two at each system call, before
// and after. False: the child has come to its end before. `calls` gets the numbers of the calls that it made.
bool runUntil(int last, const std::function<void()>& work, std::vector<std::uint64_t>* calls = nullptr) {
  const pid_t child = fork();
  if (child == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    work();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSTOPPED(status)) << "this machine lets no process be traced";
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  for (int stop = 0; stop < last && WIFSTOPPED(status); ++stop) {
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, &status, 0);
    __ptrace_syscall_info info{};
    if (calls != nullptr && WIFSTOPPED(status) && ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) > 0 &&
        info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      calls->push_back(info.entry.nr);
    }
  }
  if (!WIFSTOPPED(status)) {
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    return false;
  }
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return true;
}

class StagingCut : public StagingFixture {
 protected:
  void commit() const {
    putStagedIntoPlace(target, files);
    removeStagingFolder(target);
  }

  ErrorStreamCapture capture;
};

TEST_F(StagingCut, AtEverySystemCallTheNextStartFindsAllOldOrAllNew) {
  int cuts = 0;
  int old = 0;
  bool isNew = false;
  for (bool wasCut = true; wasCut; ++cuts) {
    makeOldSet();
    collect();
    wasCut = runUntil(cuts, [this] { commit(); });
    recoverStaging(target);

    const Tree found = tree();
    ASSERT_TRUE(found == newSet || found == oldSet) << cuts;
    ASSERT_TRUE(isStagingFolderGone()) << cuts;
    isNew = found == newSet;
    old += isNew ? 0 : 1;
  }
  EXPECT_TRUE(isNew);
  EXPECT_GT(old, 20);
  EXPECT_GT(cuts - old, 20);
}

TEST_F(StagingCut, AtEverySystemCallOfARecoveryTheNextOneFinishesIt) {
  int cuts = 0;
  for (bool wasCut = true; wasCut; ++cuts) {
    makeOldSet();
    collect();
    writeJournal(journalText(files));
    wasCut = runUntil(cuts, [this] { recoverStaging(target); });
    recoverStaging(target);

    ASSERT_EQ(tree(), newSet) << cuts;
    ASSERT_TRUE(isStagingFolderGone()) << cuts;
  }
  EXPECT_GT(cuts, 40);
}

// What a kill does not show, since memory outlives it: each step is on the disk before the next one.
TEST_F(StagingCut, TheJournalIsOnTheDiskBeforeTheFirstRenameAndTheFilesArePlacedBeforeItGoes) {
  collect();
  std::vector<std::uint64_t> calls;
  runUntil(
      1000000, [this] { commit(); }, &calls);

  std::string order;
  for (const std::uint64_t call : calls) {
    if (call == SYS_fsync) {
      order += "sync ";
    } else if (call == SYS_renameat || call == SYS_renameat2) {
      order += "rename ";
    } else if (call == SYS_unlinkat) {
      order += "remove ";
    }
  }
  const std::string journal = "sync rename sync ";
  const std::string threeFilesInTwoFolders = "rename rename rename sync sync ";
  EXPECT_TRUE(order.starts_with(journal + threeFilesInTwoFolders + "remove sync ")) << order;
}

}  // namespace
}  // namespace quendal
