#include "multicast/alive_check.h"

#include "app/console.h"
#include "app/platform.h"
#include "app/shared_state.h"
#include "multicast/alive_descriptor.h"
#include "multicast/alive_rules.h"
#include "multicast/answer_connection.h"
#include "multicast/replies.h"
#include "multicast/reply_packet.h"
#include "multicast/request_file.h"
#include "multicast/temporary_data.h"
#include "transfer/lcd_packet.h"

#include <Poco/Exception.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/TemporaryFile.h>
#include <Poco/Timespan.h>

#include <string>

namespace quendal {
namespace {

constexpr int kMulticastRepetitions = 3;
constexpr long kConnectionTimeoutSeconds = 5;

// A port that was read stays stored, also when the address that belongs to it is missing.
bool takeTransmitterServer(const std::string& path) {
  try {
    const auto request = loadRequestFile(path);
    if (!request->hasProperty(kServerPortKey)) {
      return false;
    }
    shared::dataPortValue = static_cast<std::uint32_t>(request->getInt(kServerPortKey));
    shared::tcpServerIp = request->getString(kServerIpKey);
    return true;
  } catch (const Poco::Exception& failure) {
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

bool isRateLimitOver() {
  *shared::startTimestamp = platform::now();
  const Poco::Timestamp::TimeDiff sinceLast = *shared::startTimestamp - shared::startDateTime->timestamp();
  return isAnswerDue(sinceLast / Poco::Timestamp::resolution());
}

void rememberAnswer() {
  *shared::startDateTime = *shared::startTimestamp;
}

// One connection for one answer. A server that cannot be reached gets no answer, no message and no
// multicast instead; the next request tries it again at once.
void answerByTcp(LcdPacketRecord& reply) {
  try {
    Poco::Net::StreamSocket socket =
        connectForAnswer(shared::tcpServerIp, static_cast<std::uint16_t>(shared::dataPortValue),
                         Poco::Timespan(kConnectionTimeoutSeconds, 0));
    Send_mcLCDPacket_ByTCP(reply, socket);
    socket.close();
    rememberAnswer();
  } catch (const Poco::Exception&) {
    return;
  }
}

void answerByMulticast(LcdPacketRecord& reply) {
  for (int repetition = 0; repetition < kMulticastRepetitions; ++repetition) {
    Send_mcLCDpacket(reply);
  }
  rememberAnswer();
}

}  // namespace

void handleMcPacket() {
  const LcdPacketRecord& request = shared::mcRxRecord;
  LcdPacketRecord& reply = shared::mcReplyRecord;
  const TemporaryDataRemover descriptorRemover(reply.filePath);
  if (request.commandCode != kAliveRequest) {
    return;
  }
  // What the configuration says about the way of the answer is overwritten here before it is ever used:
  // the request alone decides.
  shared::mcReplyByTcp = request.elementCount == kElementsWithFile && takeTransmitterServer(request.filePath);
  const DisplayAddress asked = decodeDisplayAddress(request.rawCommandStatus).value();
  if (!isAddressedTo(asked, ownAddress())) {
    return;
  }
  buildAliveAnswer(request, asked, reply);
  attachDescriptor(reply);
  if (!isRateLimitOver()) {
    return;
  }
  if (shared::mcReplyByTcp) {
    answerByTcp(reply);
  } else {
    answerByMulticast(reply);
  }
}

}  // namespace quendal
