#include "ipc/semaphore_table.h"

#include "support/semaphore_set.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace quendal {
namespace {

TEST(SemaphoreTable, NamesEveryEventInItsOrder) {
  EXPECT_EQ(findSemaphoreIndex(kStart2Rx), 0);
  EXPECT_EQ(findSemaphoreIndex(kNetworkUtilityDown), 6);
  EXPECT_EQ(findSemaphoreIndex(263), -1);
  EXPECT_STREQ(ipcSemaphoreTable.at(1).name.data(), "TORVA_G_IPC_SEM_START2RXDUNCARE");
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

TEST(SemaphorePost, HundredThousandPostsWithAConsumerLoseNone) {
  SemaphoreSet semaphore("TORVA_G_IPC_SEM_NETW_DN");

  for (int post = 0; post < 100000; ++post) {
    ASSERT_EQ(postIpcSemaphore(kNetworkDown), 0) << "post " << post;
    ASSERT_TRUE(semaphore.take()) << "post " << post;
  }
  EXPECT_EQ(semaphore.value(), 0);
}

}  // namespace
}  // namespace quendal
