// The alive check on hand-made datagrams, with its replies caught.
#pragma once

#include "multicast/alive_check.h"
#include "multicast/datagram.h"
#include "multicast/multicast_state.h"
#include "support/error_stream_capture.h"
#include "support/multicast_scene.h"
#include "support/packet_builder.h"
#include "support/reply_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>

namespace quendal {

inline const std::string kMulticastFailure =
    "\nSend_mcLCDpacket w/o file: Exception Met sending 3-elem mcast!\nException Message:Invalid argument";
// A reply by multicast never leaves: its three failures are what can be seen of it.
inline const std::string kRepliedToByMulticast = kMulticastFailure + kMulticastFailure + kMulticastFailure;

class AliveCheck : public testing::Test {
 protected:
  // Has `datagram` handled as McTask does; returns what was written meanwhile.
  std::string handle(const std::string& datagram) {
    std::array<std::byte, 1000> buffer{};
    std::ranges::copy(asBytes(datagram), buffer.begin());
    const DatagramContent content = unpackDatagram(buffer, shared::mcRxRecord);
    shared::mcRxRecord.filePath.clear();
    if (content.fileData) {
      shared::mcRxRecord.filePath = scene.temporaryPath("request");
      const std::string data(reinterpret_cast<const char*>(content.fileData->data()), content.fileData->size());
      scene.folder().writeFile("tmp/request", data);
    }
    const std::size_t before = capture.text().size();
    handleMcPacket();
    std::filesystem::remove(scene.temporaryPath("request"));
    return capture.text().substr(before);
  }

  std::string expectedReply() const {
    const std::string descriptor = MulticastScene::kDescriptor;
    return fromHex(
               "14 00 00 00 5C C5 03 00 44 33 22 11 88 77 66 55 E8 8E A5 A5"
               "10 00 00 00 01 00 02 01 01 00 00 00 00 00 00 00") +
           fileElement("KV_ALIVE_DESC.spt", descriptor);
  }

  MulticastScene scene;
  ReplyServer server;
  ErrorStreamCapture capture;
};

}  // namespace quendal
