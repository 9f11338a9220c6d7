#include "app/running_tasks.h"

#include "base/console.h"
#include "base/guard.h"
#include "base/shared_state.h"
#include "multicast/multicast_state.h"
#include "transfer/transfer_state.h"

#include <Poco/ErrorHandler.h>
#include <Poco/Exception.h>
#include <Poco/Util/Application.h>

#include <cstdlib>
#include <exception>

namespace quendal {
namespace {

constexpr int kAttempts = 3;

// Without destructors: other threads are in the middle of their work. At a stop every thread ends, and whoever
// waits for them can go on.
class ThreadErrorHandler : public Poco::ErrorHandler {
 public:
  void exception(const Poco::Exception& failure) override { handle(failure); }
  void exception(const std::exception& failure) override { handle(failure); }
  void exception() override { handle(Poco::Exception("unknown exception")); }

 private:
  static void handle(const std::exception& failure) {
    console::failure("A thread has ended: Exception Met!", failure);
    if (!shared::stopReq) {
      std::_Exit(Poco::Util::Application::EXIT_SOFTWARE);
    }
  }
};

// The library needs some memory for what it does on the way.
template <typename Step>
void insistOn(const Step& step) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (guard("QuendalApp: Exception Met!", step)) {
      return;
    }
  }
}

}  // namespace

// Never freed: a thread may need it for as long as the process lives.
RunningTasks::RunningTasks() {
  static auto* handler = new ThreadErrorHandler;
  Poco::ErrorHandler::set(handler);
}

RunningTasks::~RunningTasks() {
  shared::stopReq = true;
  shared::dataStopReq = true;
  shared::auxStopReq = true;
  insistOn([this] { tasks_.cancelAll(); });
  insistOn([this] { tasks_.joinAll(); });
}

}  // namespace quendal
