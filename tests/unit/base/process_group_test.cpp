#include "base/process_group.h"

#include "support/eventually.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <string>
#include <thread>

namespace quendal {
namespace {

const std::string kRest = " 1 77 77 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0 98765 1000 10";

TEST(ProcessStat, NumberGroupStateAndStartAreRead) {
  const auto stat = parseProcessStat("1234 (sh) S" + kRest);

  ASSERT_TRUE(stat);
  EXPECT_EQ(stat->identity, (ProcessIdentity{.pid = 1234, .startTime = 98765}));
  EXPECT_EQ(stat->group, 77);
  EXPECT_FALSE(stat->isZombie);
}

TEST(ProcessStat, NamesMayLookLikeTheRestOfTheLine) {
  for (const char* name : {"a b", ") Z 9 9", "(((", "))"}) {
    const auto stat = parseProcessStat("1234 (" + std::string(name) + ") S" + kRest);
    ASSERT_TRUE(stat) << name;
    EXPECT_EQ(stat->group, 77) << name;
    EXPECT_FALSE(stat->isZombie) << name;
  }
}

TEST(ProcessStat, ZombieIsOne) {
  EXPECT_TRUE(parseProcessStat("1234 (sh) Z" + kRest)->isZombie);
}

TEST(ProcessStat, WhatIsNoneGivesNothing) {
  for (const char* text : {"", "1234", "1234 (sh) S 1 77", "1234 (sh)"}) {
    EXPECT_FALSE(parseProcessStat(text)) << text;
  }
}

TEST(ProcessGroup, HoldsItsLivingProcessesAndNoZombie) {
  const pid_t child = fork();
  if (child == 0) {
    setpgid(0, 0);
    for (;;) {
      pause();
    }
  }
  ASSERT_GT(child, 0);
  ASSERT_TRUE(eventually([&] { return livingMembers(child).size() == 1; }));
  const ProcessIdentity member = livingMembers(child).front();
  EXPECT_EQ(member.pid, child);
  EXPECT_TRUE(isLiving(member));
  EXPECT_FALSE(isLiving({.pid = member.pid, .startTime = member.startTime + 1})) << "another one of that number";

  kill(child, SIGKILL);

  EXPECT_TRUE(eventually([&] { return livingMembers(child).empty(); })) << "nobody has asked for it yet";
  EXPECT_FALSE(isLiving(member));
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_FALSE(isLiving(member));
}

// A process that goes between the opening of its file and the reading makes the read fail.
TEST(ProcessGroup, ProcessesThatEndWhileTheyAreLookedAtAreNoError) {
  std::atomic<bool> enough{false};
  std::thread starter([&] {
    while (!enough) {
      const pid_t child = fork();
      if (child == 0) {
        _exit(0);
      }
      waitpid(child, nullptr, 0);
    }
  });

  int looks = 0;
  EXPECT_NO_THROW({
    for (; looks < 200; ++looks) {
      livingMembers(getpgrp());
    }
  }) << "look "
     << looks;

  enough = true;
  starter.join();
}

}  // namespace
}  // namespace quendal
