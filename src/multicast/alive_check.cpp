#include "multicast/alive_check.h"

#include "base/console.h"
#include "base/ini_file.h"
#include "base/platform.h"
#include "base/shared_state.h"
#include "multicast/alive_descriptor.h"
#include "multicast/mc_schedule.h"
#include "multicast/multicast_state.h"
#include "multicast/replies.h"
#include "multicast/reply_connection.h"
#include "multicast/reply_packet.h"
#include "multicast/request_file.h"
#include "multicast/temporary_data.h"
#include "transfer/packet/lcd_packet.h"

#include <Poco/Clock.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/TemporaryFile.h>
#include <Poco/Timespan.h>

#include <exception>
#include <string>

namespace quendal {
namespace {

constexpr int kMulticastRepetitions = 3;
constexpr long kConnectionTimeoutSeconds = 5;

// A port that was read stays stored, also when the address that belongs to it is missing.
bool takeTransmitterServer(const std::string& path) {
  try {
    const auto request = loadIniFile(path);
    if (!request->hasProperty(kServerPortKey)) {
      return false;
    }
    shared::dataPortValue = static_cast<std::uint32_t>(request->getInt(kServerPortKey));
    shared::tcpServerIp = request->getString(kServerIpKey);
    return true;
  } catch (const std::exception& failure) {
    console::failure("Excp met handling chk alive file element", failure);
    return false;
  }
}

void attachDescriptor(LcdPacketRecord& reply) {
  reply.filePath = Poco::TemporaryFile::tempName();
  writeAliveDescriptor(reply.filePath);
  reply.fileName = kAliveDescriptorName;
  reply.fileName.copy(reply.fileNameBuffer.data(), kMaxFileNameLength);
  reply.fileNameBuffer.at(reply.fileName.size()) = '\0';
}

std::int64_t secondsSinceLastReply() {
  return (*shared::startTimestamp - shared::startDateTime->timestamp()) / Poco::Timestamp::resolution();
}

void rememberReply() {
  *shared::startDateTime = *shared::startTimestamp;
}

// One connection for one reply. A server that cannot be reached gets no reply, no message and no
// multicast instead; the next request tries it again at once. So it is with a connection beyond the rations.
void replyByTcp(LcdPacketRecord& reply) {
  if (!shared::replyAttempts.admit(shared::mcSender, Poco::Clock())) {
    return;
  }
  try {
    Poco::Net::StreamSocket socket =
        connectForReply(shared::tcpServerIp, static_cast<std::uint16_t>(shared::dataPortValue),
                        Poco::Timespan(kConnectionTimeoutSeconds, 0));
    Send_mcLCDPacket_ByTCP(reply, socket);
    socket.close();
    rememberReply();
  } catch (const std::exception&) {
    return;
  }
}

void replyByMulticast(LcdPacketRecord& reply) {
  for (int repetition = 0; repetition < kMulticastRepetitions; ++repetition) {
    Send_mcLCDpacket(reply);
  }
  rememberReply();
}

}  // namespace

void handleMcPacket() {
  const LcdPacketRecord& request = shared::mcRxRecord;
  LcdPacketRecord& reply = shared::mcReplyRecord;
  const TemporaryDataRemover descriptorRemover(reply.filePath);
  if (request.commandCode != kAliveRequest) {
    return;
  }
  // What the configuration says about the way of the reply is overwritten here before it is ever used:
  // the request alone decides.
  shared::mcReplyByTcp = request.elementCount == kElementsWithFile && takeTransmitterServer(request.filePath);
  const DisplayIdentity asked = decodeDisplayIdentity(request.rawCommandStatus).value();
  if (!isAddressedTo(asked, shared::ownIdentity())) {
    return;
  }
  buildAliveReply(request, asked, reply);
  attachDescriptor(reply);
  *shared::startTimestamp = platform::now();
  if (!isReplyDue(secondsSinceLastReply())) {
    return;
  }
  if (shared::mcReplyByTcp) {
    replyByTcp(reply);
  } else {
    replyByMulticast(reply);
  }
}

}  // namespace quendal
