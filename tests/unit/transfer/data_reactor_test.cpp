#include "transfer/data_reactor.h"

#include <gtest/gtest.h>

#include <thread>

namespace quendal {
namespace {

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
  reactor.setTimeout(Poco::Timespan(1000));
  std::thread thread([&] { reactor.run(); });

  reactor.close();

  thread.join();
}

}  // namespace
}  // namespace quendal
