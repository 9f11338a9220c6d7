#include "transfer/packet_reader.h"

#include <Poco/Exception.h>
#include <Poco/Timespan.h>

namespace quendal {
namespace {

constexpr Poco::Timespan::TimeDiff kWakeUpIntervalUs = 500000;

}  // namespace

PacketReader::PacketReader(Poco::Net::StreamSocket& socket, const std::atomic<bool>& stopReq)
    : socket_(socket), stopReq_(stopReq) {
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
    if (deadline.hasPassed()) {
      throw Poco::TimeoutException();
    }
    if (stopReq_) {
      throw Poco::IllegalStateException("the service is stopping");
    }
    try {
      const int count = socket_.receiveBytes(bytes.data(), static_cast<int>(bytes.size()));
      return count > 0 ? static_cast<std::size_t>(count) : 0;
    } catch (const Poco::TimeoutException&) {
      // Nothing came for half a second: look at the deadline and the stop request again.
      continue;
    }
  }
}

}  // namespace quendal
