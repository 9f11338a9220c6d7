// Posts that the kernel interrupts or refuses.
#include "ipc/semaphore_table.h"
#include "support/failing_semop.h"
#include "support/fake_platform.h"
#include "support/semaphore_set.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace quendal {
namespace {

TEST(SemaphorePost, InterruptedOneIsMadeAgain) {
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_RXCOMPLETE");
  fake::failSemop(0, 3, EINTR);

  EXPECT_EQ(postIpcSemaphore(kRxComplete), 0);
  EXPECT_EQ(semaphore.value(), 1);
}

TEST(SemaphorePost, OneForWhichTheKernelHasNoMemoryIsMadeAgainFiveTimesInAll) {
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_RXCOMPLETE");
  fake::failSemop(0, 4, ENOMEM);
  EXPECT_EQ(postIpcSemaphore(kRxComplete), 0);
  EXPECT_EQ(semaphore.value(), 1);
  EXPECT_EQ(fake::events(), std::vector<std::string>(4, "sleep 100"));

  fake::failSemop(0, 5, ENOMEM);
  EXPECT_EQ(postIpcSemaphore(kRxComplete), -1);
  EXPECT_EQ(semaphore.value(), 1);
}

TEST(SemaphorePost, RefusedOneIsNotMadeAgain) {
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_RXCOMPLETE");
  fake::failSemop(0, 1, EACCES);

  EXPECT_EQ(postIpcSemaphore(kRxComplete), -1);
  EXPECT_EQ(semaphore.value(), 0);
}

TEST(SemaphorePost, InterruptedTakingBackOfTheUndoAdjustmentLosesNone) {
  constexpr int kLargestAdjustment = 32767;
  SemaphoreSet semaphore("TORVA_G_IPC_SEM_NETW_DN");
  for (int post = 0; post < kLargestAdjustment; ++post) {
    ASSERT_EQ(postIpcSemaphore(kNetworkDown), 0) << "post " << post;
    ASSERT_TRUE(semaphore.take()) << "post " << post;
  }
  // The adjustment is used up: the next post is refused, and what takes the adjustment back is interrupted.
  fake::failSemop(1, 1, EINTR);

  EXPECT_EQ(postIpcSemaphore(kNetworkDown), 0);
  EXPECT_EQ(semaphore.value(), 1);
}

TEST(SemaphoreWait, InterruptionIsLeftToTheCaller) {
  const SemaphoreSet semaphore("TORVA_G_IPC_SEM_RXCOMPLETE");
  postIpcSemaphore(kRxComplete);
  fake::failSemop(0, 1, EINTR);

  EXPECT_EQ(waitIpcSemaphore(semaphore.id()), -1);
  EXPECT_EQ(semaphore.value(), 1);
}

}  // namespace
}  // namespace quendal
