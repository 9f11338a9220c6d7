#include "transfer/data_reactor.h"

#include "support/eventually.h"
#include "support/loopback.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace quendal {
namespace {

// A reactor on a thread of its own for as long as the test needs it.
class Running {
 public:
  explicit Running(DataReactor& reactor) : reactor_(reactor), thread_([this] { reactor_.run(); }) {}
  ~Running() { end(); }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  Running(Running&&) = delete;
  Running& operator=(Running&&) = delete;

  void end() {
    reactor_.close();
    if (thread_.joinable()) {
      thread_.join();
    }
  }

 private:
  DataReactor& reactor_;
  std::thread thread_;
};

TEST(DataReactor, IsNotClosingUntilItIsClosed) {
  DataReactor reactor;
  EXPECT_FALSE(reactor.isClosing());

  reactor.close();

  EXPECT_TRUE(reactor.isClosing());
}

TEST(DataReactor, CloseReleasesWhoWaitsForIt) {
  DataReactor reactor;
  std::thread waiting([&] { reactor.awaitClose(); });

  reactor.close();

  waiting.join();
}

TEST(DataReactor, WaitBehindTheCloseReturnsAtOnce) {
  DataReactor reactor;
  reactor.close();

  reactor.awaitClose();
}

TEST(DataReactor, CloseEndsItsRun) {
  DataReactor reactor;
  Running running(reactor);

  running.end();
}

TEST(DataReactor, CallsAClientForAsLongAsItsSocketIsReadable) {
  LoopbackPair pair = connectWithByteReady();
  DataReactor reactor;
  std::atomic<int> calls = 0;
  reactor.add(pair.accepted, [&] { ++calls; }, {});
  const Running running(reactor);

  EXPECT_TRUE(eventually([&] { return calls > 10; }));
}

TEST(DataReactor, CallsNobodyWhoseSocketHasNothingToRead) {
  const LoopbackPair quiet = connectLoopback();
  LoopbackPair pair = connectWithByteReady();
  DataReactor reactor;
  std::atomic<int> quietCalls = 0;
  std::atomic<int> calls = 0;
  reactor.add(quiet.accepted, [&] { ++quietCalls; }, {});
  reactor.add(pair.accepted, [&] { ++calls; }, {});
  Running running(reactor);
  EXPECT_TRUE(eventually([&] { return calls > 10; }));

  running.end();

  EXPECT_EQ(quietCalls, 0);
}

TEST(DataReactor, ConnectionThatHasEndedIsReadable) {
  LoopbackPair pair = connectLoopback();
  DataReactor reactor;
  std::atomic<int> calls = 0;
  reactor.add(pair.accepted, [&] { ++calls; }, {});
  const Running running(reactor);

  resetConnection(pair.transmitter);

  EXPECT_TRUE(eventually([&] { return calls > 0; }));
}

TEST(DataReactor, ClientThatStopsReadingIsOnlyShutDown) {
  LoopbackPair failed = connectWithByteReady();
  LoopbackPair other = connectWithByteReady();
  DataReactor reactor;
  std::atomic<int> calls = 0;
  std::atomic<int> otherCalls = 0;
  std::atomic<int> shutdowns = 0;
  reactor.add(
      failed.accepted,
      [&] {
        ++calls;
        reactor.stopReading(failed.accepted);
      },
      [&] { ++shutdowns; });
  reactor.add(other.accepted, [&] { ++otherCalls; }, {});
  Running running(reactor);
  EXPECT_TRUE(eventually([&] { return otherCalls > 10; }));

  running.end();

  EXPECT_EQ(calls, 1);
  EXPECT_EQ(shutdowns, 1);
}

TEST(DataReactor, ShutsEveryClientDownInTheOrderOfTheirDescriptors) {
  std::vector<LoopbackPair> pairs(5);
  DataReactor reactor;
  std::vector<int> order;
  for (LoopbackPair& pair : pairs) {
    pair = connectLoopback();
  }
  for (std::size_t at : {3U, 0U, 4U, 1U, 2U}) {
    const int descriptor = pairs[at].accepted.impl()->sockfd();
    reactor.add(pairs[at].accepted, {}, [&order, descriptor] { order.push_back(descriptor); });
  }
  reactor.close();

  reactor.run();

  EXPECT_EQ(order.size(), pairs.size());
  EXPECT_TRUE(std::ranges::is_sorted(order));
  EXPECT_FALSE(reactor.has(pairs[0].accepted));
}

TEST(DataReactor, ClientThatHasGoneIsNotCalledAgain) {
  LoopbackPair pair = connectWithByteReady();
  DataReactor reactor;
  int calls = 0;
  reactor.add(
      pair.accepted, [&] { ++calls; }, [&] { ++calls; });
  EXPECT_TRUE(reactor.has(pair.accepted));

  reactor.remove(pair.accepted);
  reactor.remove(pair.accepted);
  reactor.close();
  reactor.run();

  EXPECT_FALSE(reactor.has(pair.accepted));
  EXPECT_EQ(calls, 0);
}

TEST(DataReactor, NobodyIsServedBehindTheCloseInTheSameRound) {
  LoopbackPair one = connectWithByteReady();
  LoopbackPair two = connectWithByteReady();
  DataReactor reactor;
  int calls = 0;
  const auto closeIt = [&] {
    ++calls;
    reactor.close();
  };
  reactor.add(one.accepted, closeIt, {});
  reactor.add(two.accepted, closeIt, {});

  reactor.run();

  EXPECT_EQ(calls, 1);
}

TEST(DataReactor, ClientsMayComeWhileOneIsServed) {
  std::vector<LoopbackPair> late(20);
  std::ranges::generate(late, connectWithByteReady);
  LoopbackPair first = connectWithByteReady();
  DataReactor reactor;
  std::atomic<std::size_t> calls = 0;
  const auto callOnce = [&](const LoopbackPair& pair) {
    reactor.add(pair.accepted,
                [&] {
                  ++calls;
                  reactor.stopReading(pair.accepted);
                },
                {});
  };
  reactor.add(first.accepted,
              [&] {
                reactor.remove(first.accepted);
                std::ranges::for_each(late, callOnce);
              },
              {});
  const Running running(reactor);

  EXPECT_TRUE(eventually([&] { return calls == late.size(); }));
}

}  // namespace
}  // namespace quendal
