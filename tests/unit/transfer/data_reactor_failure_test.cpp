// The socket reactor when single calls of it fail.
#include "transfer/data_reactor.h"

#include "support/error_stream_capture.h"
#include "support/failing_poll.h"
#include "support/fake_platform.h"
#include "support/loopback.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace quendal {
namespace {

TEST(DataReactorFailure, CloseEndsItAlsoWhenNoDescriptorWasLeftToWakeItUp) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{0, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  DataReactor reactor;
  setrlimit(RLIMIT_NOFILE, &before);
  std::thread thread([&] { reactor.run(); });

  reactor.close();

  thread.join();
}

TEST(DataReactorFailure, RoundThatFailsIsReportedAndFollowedByAnother) {
  const ErrorStreamCapture capture;
  LoopbackPair pair = connectWithByteReady();
  DataReactor reactor;
  int calls = 0;
  reactor.add(pair.accepted,
              [&] {
                ++calls;
                reactor.close();
              },
              {});
  fake::failPoll(2, ENOMEM);

  reactor.run();

  const std::string report = "\nDataReactor: poll failed: Cannot allocate memory";
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(capture.text(), report + report);
  EXPECT_EQ(fake::events(), std::vector<std::string>({"sleep 100", "sleep 100"})) << "it does not take a whole core";
}

TEST(DataReactorFailure, RoundThatASignalInterruptsIsFollowedByAnotherWithoutAWord) {
  const ErrorStreamCapture capture;
  LoopbackPair pair = connectWithByteReady();
  DataReactor reactor;
  reactor.add(pair.accepted, [&] { reactor.close(); }, {});
  fake::failPoll(1, EINTR);

  reactor.run();

  EXPECT_EQ(capture.text(), "");
  EXPECT_EQ(fake::events(), std::vector<std::string>());
}

TEST(DataReactorFailure, WhatACallbackThrowsIsReportedAndEndsNothing) {
  const ErrorStreamCapture capture;
  LoopbackPair bad = connectWithByteReady();
  LoopbackPair good = connectWithByteReady();
  DataReactor reactor;
  int shutdowns = 0;
  reactor.add(
      bad.accepted, [] { throw std::bad_alloc(); }, [] { throw Poco::IOException("gone"); });
  reactor.add(
      good.accepted, [&] { reactor.close(); }, [&] { ++shutdowns; });

  reactor.run();

  EXPECT_EQ(capture.text(),
            "\nDataReactor: Exception Met!\nException Message:std::bad_alloc"
            "\nDataReactor: Exception Met!\nException Message:I/O error: gone");
  EXPECT_EQ(fake::events(), std::vector<std::string>({"sleep 100"})) << "it does not take a whole core";
  EXPECT_EQ(shutdowns, 1);
}

}  // namespace
}  // namespace quendal
