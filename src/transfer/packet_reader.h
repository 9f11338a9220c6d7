// Exact reads from a transmitter's connection, under a deadline.
#pragma once

#include <Poco/Net/StreamSocket.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>
#include <span>

namespace quendal {

/// How long the bytes of one packet element may take to arrive.
inline constexpr std::chrono::milliseconds kElementTimeout{30000};

/// A point in time that a read must not pass.
class Deadline {
 public:
  explicit Deadline(std::chrono::milliseconds fromNow) : end_(now() + fromNow) {}

  bool hasPassed() const { return now() >= end_; }

  /// Moves the end on by `time`: for a wait of our own that is not the peer's fault.
  void extend(std::chrono::milliseconds time) { end_ += time; }

 private:
  // The time since the machine's start, by the kernel's last tick. It is a few milliseconds behind, and
  // costs a fifth of the exact one, for which a fast transfer would ask every 1024 bytes.
  static std::chrono::milliseconds now();

  std::chrono::milliseconds end_;
};

enum class ReadResult { kComplete, kClosed };

/// The requests that have a read abandoned, whatever the peer does.
struct ReadEnds {
  const std::atomic<bool>& stop;   // the service ends
  const std::atomic<bool>& pause;  // the link has gone, and with it, as a rule, the peer
};

/// Reads from one connection. Runs on the reactor thread; the socket and the flags must outlive it.
class PacketReader {
 public:
  /// Takes the socket's receive time-out over: reads wake up twice a second to look at the deadline
  /// and at `ends`, so that a silent peer delays the end or the pause of the service by half a second at
  /// most.
  PacketReader(Poco::Net::StreamSocket& socket, const ReadEnds& ends);

  /// Fills `bytes`, in as many reads as it takes. kClosed: the peer closed the connection before the
  /// last byte. Throws Poco::TimeoutException when `deadline` passes first (a peer that trickles
  /// bytes included), Poco::IllegalStateException when the service stops or pauses, and what the socket
  /// throws.
  ReadResult readExactly(std::span<std::byte> bytes, const Deadline& deadline);

  /// One read of at least one byte into `bytes`: the number of bytes read, or 0 when the peer has
  /// closed the connection. Throws as readExactly; a read that fills `bytes` is never too late.
  std::size_t readSome(std::span<std::byte> bytes, const Deadline& deadline);

 private:
  /// The number of bytes that came, 0 at the end of the connection; nothing when none came for half a
  /// second.
  std::optional<std::size_t> receive(std::span<std::byte> bytes);

  void throwIfAbandoned() const;

  Poco::Net::StreamSocket& socket_;
  ReadEnds ends_;
};

}  // namespace quendal
