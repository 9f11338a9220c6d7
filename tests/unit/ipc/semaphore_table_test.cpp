#include "ipc/semaphore_table.h"

#include "support/error_stream_capture.h"
#include "support/semaphore_set.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace quendal {
namespace {

// What `act` returns in a process of its own, which has ended by then.
int inAnotherProcess(const std::function<int()>& act) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(act());
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WEXITSTATUS(status);
}

TEST(SemaphoreTable, NamesEveryEventInItsOrder) {
  const std::vector<std::pair<std::uint32_t, std::string>> expected = {
      {256, "TORVA_G_IPC_SEM_START2RX"},    {257, "TORVA_G_IPC_SEM_START2RXDUNCARE"},
      {258, "TORVA_G_IPC_SEM_RXCOMPLETE"},  {259, "TORVA_G_IPC_SEM_NETW_UP"},
      {260, "TORVA_G_IPC_SEM_NETW_DN"},     {261, "TORVA_G_IPC_SEM_VIDEO_CONTEXT_CHANGE"},
      {262, "TORVA_G_IPC_SEM_NETW_UTIL_DN"}};

  ASSERT_EQ(ipcSemaphoreTable.size(), expected.size());
  for (std::size_t index = 0; index < expected.size(); ++index) {
    EXPECT_EQ(ipcSemaphoreTable.at(index).id, expected[index].first);
    EXPECT_EQ(ipcSemaphoreTable.at(index).name.data(), expected[index].second);
    EXPECT_EQ(ipcSemaphoreTable.at(index).semId, 0) << "before anybody has looked";
    EXPECT_EQ(findSemaphoreIndex(expected[index].first), static_cast<int>(index));
  }
}

TEST(SemaphoreTable, UnknownEventHasNoIndex) {
  for (const std::uint32_t id : {0U, 255U, 263U, 0xFFFFFFFFU}) {
    EXPECT_EQ(findSemaphoreIndex(id), -1) << id;
  }
}

TEST(SemaphoreTable, StartUpTakesDecimalNumbersAndMinusOneForTheRest) {
  setenv("TORVA_G_IPC_SEM_START2RX", " 31x", 1);
  setenv("TORVA_G_IPC_SEM_NETW_DN", "none", 1);

  loadSemaphoreIds();

  EXPECT_EQ(ipcSemaphoreTable.at(0).semId, 31);
  EXPECT_EQ(ipcSemaphoreTable.at(1).semId, -1);
  EXPECT_EQ(ipcSemaphoreTable.at(4).semId, 0);
}

TEST(SemaphorePost, WithoutVariablesEveryPostIsANoOpAndTheTableHoldsMinusOne) {
  loadSemaphoreIds();

  for (const IpcSemaphoreEntry& entry : ipcSemaphoreTable) {
    EXPECT_EQ(postIpcSemaphore(entry.id), 0);
    EXPECT_EQ(entry.semId, -1);
  }
}

TEST(SemaphorePost, NegativeIdentifierIsReturnedWithoutAPost) {
  setenv("TORVA_G_IPC_SEM_NETW_UP", "-5", 1);

  EXPECT_EQ(postIpcSemaphore(kNetworkUp), -5);
  EXPECT_EQ(ipcSemaphoreTable.at(3).semId, -5);
}

TEST(SemaphorePost, TextBehindTheNumberIsIgnored) {
  SemaphoreSet semaphore("TORVA_G_IPC_SEM_RXCOMPLETE");
  setenv("TORVA_G_IPC_SEM_RXCOMPLETE", (std::to_string(semaphore.id()) + "x").c_str(), 1);

  EXPECT_EQ(postIpcSemaphore(kRxComplete), 0);
  EXPECT_EQ(semaphore.value(), 1);
}

TEST(SemaphorePost, UnknownEventPostsNothing) {
  EXPECT_EQ(postIpcSemaphore(255), -1);
}

TEST(SemaphorePost, RemovedSemaphoreIsRefusedWithoutAMessage) {
  const ErrorStreamCapture capture;
  SemaphoreSet semaphore("TORVA_G_IPC_SEM_NETW_UP");
  semaphore.remove();

  EXPECT_EQ(postIpcSemaphore(kNetworkUp), -1);
  EXPECT_EQ(capture.text(), "");
}

TEST(SemaphorePost, ChangedVariableTakesEffectAtTheNextPost) {
  const SemaphoreSet first("TORVA_G_IPC_SEM_NETW_UP");
  postIpcSemaphore(kNetworkUp);
  const SemaphoreSet second("TORVA_G_IPC_SEM_NETW_UP");

  EXPECT_EQ(postIpcSemaphore(kNetworkUp), 0);

  EXPECT_EQ(first.value(), 1);
  EXPECT_EQ(second.value(), 1);
  EXPECT_EQ(ipcSemaphoreTable.at(3).semId, second.id());
}

TEST(SemaphorePost, WakesNobodyElse) {
  const SemaphoreSet up("TORVA_G_IPC_SEM_NETW_UP");
  const SemaphoreSet down("TORVA_G_IPC_SEM_NETW_DN");

  postIpcSemaphore(kNetworkDown);

  EXPECT_EQ(up.value(), 0);
  EXPECT_EQ(down.value(), 1);
}

TEST(SemaphorePost, DisplayThatNeverTakesLosesOnlyWhatTheKernelCannotHold) {
  constexpr int kLargestValue = 32767;
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_NETW_DN");
  for (int post = 0; post < kLargestValue; ++post) {
    ASSERT_EQ(postIpcSemaphore(kNetworkDown), 0) << "post " << post;
  }

  EXPECT_EQ(postIpcSemaphore(kNetworkDown), -1);
  EXPECT_EQ(semaphore.value(), kLargestValue);
}

TEST(SemaphorePost, PostsThatNobodyTookAreTakenBackWhenTheProcessEnds) {
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_NETW_UP");

  const int valueBeforeItsEnd = inAnotherProcess([&] {
    postIpcSemaphore(kNetworkUp);
    postIpcSemaphore(kNetworkUp);
    return semaphore.value();
  });

  EXPECT_EQ(valueBeforeItsEnd, 2);
  EXPECT_EQ(semaphore.value(), 0);
}

TEST(SemaphoreWait, PostThatWasTakenIsGivenBackWhenTheProcessEnds) {
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_RXCOMPLETE");
  postIpcSemaphore(kRxComplete);

  const int valueBeforeItsEnd = inAnotherProcess([&] {
    waitIpcSemaphore(semaphore.id());
    return semaphore.value();
  });

  EXPECT_EQ(valueBeforeItsEnd, 0);
  EXPECT_EQ(semaphore.value(), 1);
}

TEST(SemaphoreWait, TakesOnePost) {
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_RXCOMPLETE");
  postIpcSemaphore(kRxComplete);
  postIpcSemaphore(kRxComplete);

  EXPECT_EQ(waitIpcSemaphore(semaphore.id()), 0);
  EXPECT_EQ(semaphore.value(), 1);
}

TEST(SemaphoreRemoval, RemovesTheSetInSilence) {
  const ErrorStreamCapture capture;
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_RXCOMPLETE");

  removeIpcSemaphore(semaphore.id());

  EXPECT_EQ(semaphore.value(), -1);
  EXPECT_EQ(capture.text(), "");
}

TEST(SemaphoreRemoval, FailureIsReported) {
  const ErrorStreamCapture capture;

  removeIpcSemaphore(-7);

  EXPECT_EQ(capture.text(), "\r\nFailed to remove IPC-sysV sem_id:-7\r\n!");
}

TEST(CommErrorReport, EveryCodeHasItsWords) {
  const std::vector<std::pair<int, std::string>> table = {
      {-1, "Read error on tty. Closing communication port\n"},
      {-2, "Write error on output. Closing communication port\n"},
      {-3, "Read error on input file. Closing communication port\n"},
      {-4, "Write error on tty. Closing communication port\n"},
      {-5, "TorvaLCD :Got signal -5. Closing communication port\n"},
      {0, "TorvaLCD :Got signal 0. Closing communication port\n"},
      {15, "TorvaLCD :Got signal 15. Closing communication port\n"}};

  for (const auto& [code, words] : table) {
    const ErrorStreamCapture capture;
    reportCommError(code);
    EXPECT_EQ(capture.text(), words);
  }
}

TEST(SemaphorePost, HundredThousandPostsWithAConsumerLoseNone) {
  SemaphoreSet semaphore("TORVA_G_IPC_SEM_NETW_DN");

  for (int post = 0; post < 100000; ++post) {
    ASSERT_EQ(postIpcSemaphore(kNetworkDown), 0) << "post " << post;
    ASSERT_TRUE(semaphore.take()) << "post " << post;
  }
  EXPECT_EQ(semaphore.value(), 0);
}

TEST(SemaphorePost, NoneIsLostOnADisplayThatLagsFarBehind) {
  constexpr int kBehind = 20000;  // leaves no room for the largest step of the undo adjustment
  SemaphoreSet semaphore("TORVA_G_IPC_SEM_NETW_DN");
  for (int post = 0; post < kBehind; ++post) {
    ASSERT_EQ(postIpcSemaphore(kNetworkDown), 0) << "post " << post;
  }

  for (int post = 0; post < 40000; ++post) {
    ASSERT_EQ(postIpcSemaphore(kNetworkDown), 0) << "post " << post;
    ASSERT_TRUE(semaphore.take()) << "post " << post;
  }
  EXPECT_EQ(semaphore.value(), kBehind);
}

}  // namespace
}  // namespace quendal
