// Process entry.

#include "app/quendal_app.h"
#include "base/console.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>

namespace {

// For what nobody catches, such as the want of memory for a process-wide variable: a line and a status that say what
// it was, instead of a signal.
[[noreturn]] void endUncaught() {
  try {
    if (const std::exception_ptr uncaught = std::current_exception()) {
      std::rethrow_exception(uncaught);
    }
  } catch (const std::exception& failure) {
    quendal::console::failure("Uncaught: Exception Met!", failure);
  } catch (...) {
    quendal::console::line("Uncaught: Exception Met!");
  }
  std::_Exit(Poco::Util::Application::EXIT_SOFTWARE);
}

// Before the process-wide variables are made.
__attribute__((constructor(101))) void installTerminateHandler() {
  std::set_terminate(&endUncaught);
}

// Before anything is opened: a number that the starter has left closed would go to the next file or socket, which
// the commands inherit, and which diagnostics are written into if it is the error stream's.
void openMissingStandardStreams() {
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(number, F_GETFD) < 0) {
      ::open("/dev/null", O_RDWR);  // takes the lowest number that is free, which is this one
    }
  }
}

// Before the first thread, so that every one inherits it and a request that comes during the start-up
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
  openMissingStandardStreams();
  blockTerminationSignals();
  try {
    quendal::QuendalApp app;
    return app.run(argc, argv);
  } catch (const std::exception& failure) {
    quendal::console::write(quendal::console::failureText(failure) + "\n");
    return Poco::Util::Application::EXIT_SOFTWARE;
  }
}
