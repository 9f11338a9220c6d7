#include "multicast/reply_packet.h"

#include "transfer/packet/byte_order.h"

#include <algorithm>
#include <string_view>

namespace quendal {
namespace {

constexpr std::size_t kFlagOffset = 8;  // of a command status
constexpr std::byte kFlag{1};
constexpr std::uint16_t kHeartbeatKind = 2;
constexpr std::uint16_t kReplyKind = 1;

std::string_view fileNameOf(const LcdPacketRecord& reply) {
  return reply.fileNameBuffer.data();
}

void setCommandStatus(LcdPacketRecord& reply, const CommandStatus& status) {
  reply.commandStatusLength = status.elementLength;
  reply.commandCode = status.commandCode;
  std::fill_n(reply.rawCommandStatus.begin(), status.elementLength, std::byte{0});
  encodeCommandStatus(status, reply.rawCommandStatus);
  reply.rawCommandStatus.at(kFlagOffset) = kFlag;
}

void toWireForm(LcdPacketRecord& reply) {
  encodeHeader({.headerLength = reply.headerLength,
                .elementCount = static_cast<std::uint8_t>(reply.elementCount),
                .requestWordA = reply.requestWordA,
                .requestWordB = reply.requestWordB,
                .sigWord = reply.sigWord},
               reply.rawHeader);
  writeU32(reply.rawCommandStatus, 0, reply.commandStatusLength);
}

}  // namespace

void buildHeartbeat(LcdPacketRecord& reply) {
  reply.elementCount = kElementsWithCommandStatus;
  reply.headerLength = kHeaderSize;
  reply.requestWordA = 0;
  reply.requestWordB = 0;
  reply.sigWord = kSigWord;
  setCommandStatus(reply, {.elementLength = kPlainStatusSize, .statusKind = kHeartbeatKind});
}

void buildAliveReply(const LcdPacketRecord& request, const DisplayIdentity& asked, LcdPacketRecord& reply) {
  reply.elementCount = kElementsWithFile;
  reply.headerLength = kHeaderSize;
  reply.requestWordA = request.requestWordA;
  reply.requestWordB = request.requestWordB;
  reply.sigWord = request.sigWord;
  setCommandStatus(reply,
                   {.elementLength = kAddressedStatusSize, .statusKind = kReplyKind, .commandCode = kAliveReply});
  encodeDisplayIdentity(asked, reply.rawCommandStatus);
}

std::uint64_t replySize(const LcdPacketRecord& reply, std::uint64_t fileSize) {
  const std::uint64_t size = std::uint64_t{reply.headerLength} + reply.commandStatusLength;
  return reply.elementCount == kElementsWithFile ? size + kFileElementOverhead + fileNameOf(reply).size() + fileSize
                                                 : size;
}

std::optional<std::size_t> encodeReply(LcdPacketRecord& reply, std::span<const std::byte> fileData,
                                       std::span<std::byte> out) {
  const std::uint64_t size = replySize(reply, fileData.size());
  if (size > out.size() || reply.headerLength > reply.rawHeader.size() ||
      reply.commandStatusLength > reply.rawCommandStatus.size()) {
    return std::nullopt;
  }
  toWireForm(reply);
  std::copy_n(reply.rawHeader.begin(), reply.headerLength, out.begin());
  out = out.subspan(reply.headerLength);
  std::copy_n(reply.rawCommandStatus.begin(), reply.commandStatusLength, out.begin());
  if (reply.elementCount == kElementsWithFile) {
    encodeFileElement(fileNameOf(reply), fileData, out.subspan(reply.commandStatusLength));
  }
  return size;
}

}  // namespace quendal
