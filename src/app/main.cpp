// Process entry.

#include "app/quendal_app.h"
#include "base/console.h"

#include <Poco/Exception.h>

#include <csignal>

namespace {

// First thing of all, so that every thread inherits it and a request that comes during the start-up
// waits until the application asks for it, instead of killing the process half-way. SIGPIPE is none of
// ours: a closed error stream or connection is seen where it is written to.
void blockTerminationSignals() {
  sigset_t signals{};
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGQUIT, SIGPIPE}) {
    sigaddset(&signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  blockTerminationSignals();
  try {
    quendal::QuendalApp app;
    return app.run(argc, argv);
  } catch (const Poco::Exception& failure) {
    quendal::console::write(failure.displayText() + "\n");
    return Poco::Util::Application::EXIT_SOFTWARE;
  }
}
