// The socket reactor of one open period of the data service.
#pragma once

#include "base/descriptor.h"

#include <Poco/Net/Socket.h>
#include <Poco/Runnable.h>

#include <poll.h>

#include <atomic>
#include <functional>
#include <map>
#include <vector>

namespace quendal {

/// Calls its clients when their sockets are readable, and once more at its end.
///
/// It asks the system anew in each round which sockets are readable, so no single call has to succeed for a
/// client to come or to go, and a round that fails is followed by another. Clients come and go on the thread
/// that runs the reactor, or on any while none does; close and isClosing may be called on any thread.
///
/// Its end can be waited for from within: a failed connection waits here, on the reactor's own thread, until
/// DataTask closes the service. Nothing is lost by that: every other connection is about to be dropped as well.
class DataReactor : public Poco::Runnable {
 public:
  using Callback = std::function<void()>;

  DataReactor();

  /// Calls `onReadable` whenever `socket`, of which it keeps a copy, has something to read or has failed, and
  /// `onShutdown` at the end of run, by which time it has removed it. Throws when there is no memory, with
  /// nothing changed.
  void add(const Poco::Net::Socket& socket, Callback onReadable, Callback onShutdown);

  /// Calls `onReadable` no more; `onShutdown` still comes.
  void stopReading(const Poco::Net::Socket& socket);

  /// Calls neither from now on. Without effect when the socket has never come, or has gone.
  void remove(const Poco::Net::Socket& socket);

  bool has(const Poco::Net::Socket& socket) const;

  /// Serves until close is called, then shuts every client down, in the order of their descriptors. What a
  /// callback throws is reported on the error stream and ends nothing.
  void run() override;

  /// Ends the reactor and whoever waits in awaitClose. Called by DataTask.
  void close();

  bool isClosing() const { return closing_; }

  /// Blocks until close has been called. Called on the reactor thread.
  void awaitClose() const { closing_.wait(false); }

 private:
  struct Client {
    Poco::Net::Socket socket;
    Callback onReadable;  // empty: is not read any more
    Callback onShutdown;
  };

  bool awaitReadable();
  void serveReadable();
  void serve(int descriptor);
  void shutDownAll();

  std::map<int, Client> clients_;  // by their descriptors
  std::vector<pollfd> polled_;     // this round's; room for all clients
  Descriptor wakeUp_;              // may be missing: then the end of a round is waited for
  std::atomic<bool> closing_{false};
};

}  // namespace quendal
