// Entry of every unit test program: an application object for the application logger, then the tests.

#include "base/error_stream_channel.h"

#include <Poco/Util/Application.h>
#include <gtest/gtest.h>

#include <csignal>

int main(int argc, char** argv) {
  // As the program does it: a connection or stream that was closed is seen where it is written to.
  sigset_t signals{};
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);

  const Poco::AutoPtr<Poco::Util::Application> application(new Poco::Util::Application);
  quendal::ErrorStreamChannel::install();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
