// An error stream that has no room: nobody waits for it, and what is lost is told.
#include "base/console.h"
#include "unit/base/slow_reader.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace quendal {
namespace {

constexpr std::size_t kMoreThanFits = 100000;

class ConsoleRoom : public testing::TestWithParam<const char*> {
 protected:
  // Fills the stream; returns what its reader will find.
  std::string fill() {
    const std::string message = "<" + std::string(kMoreThanFits, 'f') + ">";
    console::write(message);
    return message;
  }

  // All that comes while the console catches up: until two looks in a row, with a flush between, find nothing.
  std::string drain() {
    std::string text;
    for (int emptyLooks = 0; emptyLooks < 2;) {
      const std::string part = reader.readLate();
      emptyLooks = part.empty() ? emptyLooks + 1 : 0;
      text += part;
      console::flush();
    }
    return text;
  }

  SlowReader reader{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Kinds, ConsoleRoom, testing::Values("pipe", "socket", "terminal"));

TEST_P(ConsoleRoom, BegunMessageIsCompletedBeforeTheLossOfTheOthersIsTold) {
  const std::string begun = fill();
  console::line("lost");
  console::line("lost as well");

  std::string text = drain();
  console::line("heard");
  text += drain();

  EXPECT_EQ(text, begun + "\nError stream: 2 messages dropped\nheard");
}

TEST_P(ConsoleRoom, OneLostMessageIsToldInTheSingular) {
  const std::string begun = fill();
  console::line("lost");

  EXPECT_EQ(drain(), begun + "\nError stream: 1 message dropped");
  EXPECT_EQ(drain(), "") << "told once";
}

TEST_P(ConsoleRoom, EmptyMessageIsNoneThatCouldBeLost) {
  const std::string begun = fill();
  console::write("");

  EXPECT_EQ(drain(), begun);
}

TEST_P(ConsoleRoom, ModeOfTheSharedStreamStaysAsItIs) {
  const int before = fcntl(reader.shared(), F_GETFL);
  fill();

  EXPECT_EQ(fcntl(reader.shared(), F_GETFL), before);
  EXPECT_EQ(before & O_NONBLOCK, 0);
}

TEST_P(ConsoleRoom, AnotherStreamOwesNothingOfTheOne) {
  fill();
  console::line("lost");
  SlowReader other("pipe");

  console::line("heard");

  EXPECT_EQ(other.readLate(), "\nheard");
}

TEST_P(ConsoleRoom, ReaderThatHasGoneIsNoError) {
  reader.closeReading();

  fill();
  console::line("nobody hears this");
  console::flush();
}

// Messages of all sizes, and a reader that takes some bytes now and then: what it gets are the messages in their
// order, each whole, and in each gap the number of those that are missing there.
TEST_P(ConsoleRoom, WhateverTheReaderDoesEachMessageIsHeardWholeOrCounted) {
  constexpr std::size_t kMessages = 700;
  std::mt19937 random(4711);  // NOLINT(cert-msc51-cpp): the same sweep each time
  std::vector<std::string> messages;
  std::string text;
  for (std::size_t number = 0; number < kMessages; ++number) {
    messages.push_back("<" + std::to_string(number) + ":" + std::string(random() % 6000, 'x') + ">");
    console::write(messages.back());
    if (random() % 3 == 0) {
      text += reader.read(random() % 30000);
    }
    if (random() % 10 == 0) {
      console::flush();
    }
  }
  text += drain();

  std::size_t told = 0;
  std::size_t next = 0;
  for (std::size_t at = 0; at < text.size();) {
    ASSERT_LT(next, kMessages + 1);
    if (next < kMessages && text.compare(at, messages[next].size(), messages[next]) == 0) {
      at += messages[next++].size();
      continue;
    }
    const std::string notice = "\nError stream: ";
    ASSERT_EQ(text.compare(at, notice.size(), notice), 0) << text.substr(at, 100);
    const std::size_t dropped = std::stoul(text.substr(at + notice.size()));
    ASSERT_GT(dropped, 0U);
    next += dropped;
    told += dropped;
    at = text.find("dropped", at) + 7;
  }
  EXPECT_EQ(next, kMessages);
  EXPECT_GT(told, 10U) << "the reader was too fast for this test";
}

TEST_P(ConsoleRoom, ManyThreadsNeverMixTheirMessages) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 300;
  std::atomic<int> running = kThreads;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread, &running] {
      for (int message = 0; message < kMessages; ++message) {
        console::write("<" + std::string(static_cast<std::size_t>(message), static_cast<char>('a' + thread)) + ">");
      }
      --running;
    });
  }
  std::string text;
  while (running > 0) {
    text += reader.read();
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  text += drain();

  for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
    const std::size_t end = text.find('>', at);
    ASSERT_NE(end, std::string::npos);
    ASSERT_EQ(std::count(text.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                         text.begin() + static_cast<std::ptrdiff_t>(end), text[at + 1]),
              end == at + 1 ? 0 : static_cast<std::ptrdiff_t>(end - at - 1));
  }
}

// Without a free descriptor the stream cannot be opened once more; neither can another user's pipe.
class NoOwnDescriptor {
 public:
  NoOwnDescriptor() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit none{STDERR_FILENO + 1, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoOwnDescriptor() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoOwnDescriptor(const NoOwnDescriptor&) = delete;
  NoOwnDescriptor& operator=(const NoOwnDescriptor&) = delete;
  NoOwnDescriptor(NoOwnDescriptor&&) = delete;
  NoOwnDescriptor& operator=(NoOwnDescriptor&&) = delete;

 private:
  rlimit before_{};
};

TEST_P(ConsoleRoom, StreamThatCannotBeOpenedOnceMoreHoldsNobodyEither) {
  const NoOwnDescriptor limit;
  const std::string begun = fill();
  console::line("lost");

  EXPECT_EQ(drain(), begun + "\nError stream: 1 message dropped");
}

TEST(ConsoleTerminal, StoppedOneHoldsNobody) {
  SlowReader terminal("terminal");
  ASSERT_EQ(tcflow(terminal.shared(), TCOOFF), 0);
  console::line("lost");

  ASSERT_EQ(tcflow(terminal.shared(), TCOON), 0);
  console::line("heard");

  EXPECT_EQ(terminal.readLate(), "\nError stream: 1 message dropped\nheard");
}

}  // namespace
}  // namespace quendal
