// What the display sends by itself, as packets: the heartbeat and the alive reply. Pure functions.
#pragma once

#include "transfer/packet/lcd_packet.h"
#include "transfer/packet/lcd_packet_record.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace quendal {

/// Makes `reply` a heartbeat: a plain status that nobody asked for.
void buildHeartbeat(LcdPacketRecord& reply);

/// Makes `reply` the reply to the alive request in `request`: its request words, its signature (a
/// wrong one included) and the address `asked` that it was sent to, wildcards included. The caller adds
/// the file.
void buildAliveReply(const LcdPacketRecord& request, const DisplayIdentity& asked, LcdPacketRecord& reply);

/// The length on the wire of `reply`, an element count of 2, or of 3 with `fileSize` bytes of file data.
std::uint64_t replySize(const LcdPacketRecord& reply, std::uint64_t fileSize);

/// Lays `reply` out at the start of `out`, with `fileData` when its element count is 3, and returns its
/// length; nothing when it does not fit. The raw header and command status in `reply` are brought to
/// their wire form first.
std::optional<std::size_t> encodeReply(LcdPacketRecord& reply, std::span<const std::byte> fileData,
                                       std::span<std::byte> out);

}  // namespace quendal
