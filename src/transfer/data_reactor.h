// The socket reactor of one open period of the data service.
#pragma once

#include <Poco/Net/SocketReactor.h>

#include <atomic>

namespace quendal {

/// A reactor whose end can be waited for from within.
///
/// After a connection has failed, its socket stays readable, and the library goes on polling it for
/// as long as any observer is left on it: a handler that simply returned would burn a whole core
/// until the service is re-opened. So the failed handler waits here, on the reactor's own thread,
/// until DataTask closes the service. Nothing is lost by that: every other connection is about to be
/// dropped as well.
class DataReactor : public Poco::Net::SocketReactor {
 public:
  /// Ends the reactor and whoever waits in awaitClose. Called by DataTask.
  void close() {
    stop();
    closing_ = true;
    closing_.notify_all();
  }

  bool isClosing() const { return closing_; }

  /// Blocks until close has been called. Called on the reactor thread.
  void awaitClose() const { closing_.wait(false); }

 private:
  std::atomic<bool> closing_{false};
};

}  // namespace quendal
