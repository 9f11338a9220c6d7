#include "transfer/packet_reader.h"

#include <Poco/Exception.h>
#include <Poco/Timespan.h>

#include <ctime>

namespace quendal {
namespace {

constexpr Poco::Timespan::TimeDiff kWakeUpIntervalUs = 500000;

}  // namespace

std::chrono::milliseconds Deadline::now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
  return std::chrono::seconds(time.tv_sec) +
         std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::nanoseconds(time.tv_nsec));
}

PacketReader::PacketReader(Poco::Net::StreamSocket& socket, const ReadEnds& ends) : socket_(socket), ends_(ends) {
  socket_.setReceiveTimeout(Poco::Timespan(kWakeUpIntervalUs));
}

ReadResult PacketReader::readExactly(std::span<std::byte> bytes, const Deadline& deadline) {
  while (!bytes.empty()) {
    const std::size_t count = readSome(bytes, deadline);
    if (count == 0) {
      return ReadResult::kClosed;
    }
    bytes = bytes.subspan(count);
  }
  return ReadResult::kComplete;
}

std::size_t PacketReader::readSome(std::span<std::byte> bytes, const Deadline& deadline) {
  for (;;) {
    throwIfAbandoned();
    const std::optional<std::size_t> count = receive(bytes);
    if (count && (*count == 0 || *count == bytes.size())) {
      return *count;
    }
    // Whoever sends all that is asked for is in time. The clock is for those who do not, which spares a
    // fast transfer from asking for the time with each read.
    if (deadline.hasPassed()) {
      throw Poco::TimeoutException();
    }
    if (count) {
      return *count;
    }
  }
}

void PacketReader::throwIfAbandoned() const {
  if (ends_.stop) {
    throw Poco::IllegalStateException("the service is stopping");
  }
  if (ends_.pause) {
    throw Poco::IllegalStateException("the service is pausing");
  }
}

std::optional<std::size_t> PacketReader::receive(std::span<std::byte> bytes) {
  try {
    const int count = socket_.receiveBytes(bytes.data(), static_cast<int>(bytes.size()));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  } catch (const Poco::TimeoutException&) {
    return std::nullopt;
  }
}

}  // namespace quendal
