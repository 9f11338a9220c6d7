#include "multicast/replies.h"

#include "base/console.h"
#include "multicast/multicast_state.h"
#include "multicast/reply_packet.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <Poco/Net/SocketAddress.h>

#include <exception>
#include <span>
#include <string>

namespace quendal {
namespace {

using Bytes = std::span<const std::byte>;

// `size` is that of a file that fits into a reply.
std::string readFile(const std::string& path, std::uint64_t size) {
  std::string content(static_cast<std::size_t>(size), '\0');
  Poco::FileInputStream file(path, std::ios::binary);
  if (!file.read(content.data(), static_cast<std::streamsize>(size))) {
    throw Poco::ReadFileException(path);
  }
  return content;
}

// The packet in `mcSendBuffer`, with the first `fileSize` bytes of its file.
Bytes assemble(LcdPacketRecord& packet, std::uint64_t fileSize) {
  const std::span<std::byte> buffer(shared::mcSendBuffer);
  const std::uint64_t size = replySize(packet, fileSize);
  if (size > buffer.size()) {
    throw Poco::RangeException("a reply of " + std::to_string(size) + " bytes, at most " +
                               std::to_string(buffer.size()) + " fit");
  }
  const std::string content = fileSize > 0 ? readFile(packet.filePath, fileSize) : std::string();
  return buffer.first(encodeReply(packet, std::as_bytes(std::span(content)), buffer).value());
}

template <typename Transmit>
void send(LcdPacketRecord& packet, std::uint64_t fileSize, const char* failureHeading, const Transmit& transmit) {
  try {
    transmit(assemble(packet, fileSize));
  } catch (const std::exception& failure) {
    console::failure(failureHeading, failure);
  }
}

void sendTo(Bytes bytes, const Poco::Net::SocketAddress& address) {
  shared::mcSocket.sendTo(bytes.data(), static_cast<int>(bytes.size()), address, 0);
}

std::uint64_t fileSizeOf(const LcdPacketRecord& packet) {
  return Poco::File(packet.filePath).getSize();
}

}  // namespace

void Send_mcLCDpacket(LcdPacketRecord& packet) {
  if (packet.elementCount == kElementsWithCommandStatus) {
    send(packet, 0, "Send_mcLCDpacket w/o file: Exception Met sending 2-elem mcast!",
         [](Bytes bytes) { sendTo(bytes, *shared::mcBindAddress); });
  } else if (packet.elementCount == kElementsWithFile) {
    // To port 0 of no host, which the system always refuses: that a reply with a file never goes to
    // the group, and reaches the transmitter by TCP only, is required. It costs a message.
    send(packet, fileSizeOf(packet), "Send_mcLCDpacket w/o file: Exception Met sending 3-elem mcast!",
         [](Bytes bytes) { sendTo(bytes, Poco::Net::SocketAddress()); });
  }
}

void Send_mcLCDPacket_ByTCP(LcdPacketRecord& packet, Poco::Net::StreamSocket socket) {
  const auto transmit = [&socket](Bytes bytes) { socket.sendBytes(bytes.data(), static_cast<int>(bytes.size()), 0); };
  if (packet.elementCount == kElementsWithCommandStatus) {
    send(packet, 0, "Send_mcLCDPacket_ByTCP w/o file: Exception Met when sending 2-elem TCP!", transmit);
  } else if (packet.elementCount == kElementsWithFile) {
    send(packet, fileSizeOf(packet), "Send_mcLCDPacket_ByTCP w/o file: Exception Met when sending 3-elem TCP!",
         transmit);
  }
}

}  // namespace quendal
