// The two senders of a reply: by multicast, and over a TCP connection to the transmitter's server.
//
// They put the same bytes on the wire. Neither decides whether or when to reply. Both run on McTask's
// thread and assemble the packet in `mcSendBuffer`.
#pragma once

#include "transfer/packet/lcd_packet_record.h"

#include <Poco/Net/StreamSocket.h>

namespace quendal {

/// Sends `packet` by multicast: the header and command status of an element count of 2, with the file at
/// its file path for a count of 3. Any other count sends nothing.
///
/// A failed send, and a packet that does not fit the send buffer, is reported and is no error to the
/// caller. Throws Poco::FileException when the file is not there.
void Send_mcLCDpacket(LcdPacketRecord& packet);

/// The same over `socket`, which is connected and stays open.
void Send_mcLCDPacket_ByTCP(LcdPacketRecord& packet, Poco::Net::StreamSocket socket);

}  // namespace quendal
