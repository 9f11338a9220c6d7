// Unpacks one multicast datagram into a record. Pure: bytes in, fields and a verdict out.
#pragma once

#include "transfer/packet/lcd_packet_record.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quendal {

/// What unpackDatagram found.
struct DatagramContent {
  /// Every length stays inside the buffer and the record. A datagram that does not fit goes no further.
  bool fits = false;
  /// A wrong signature is reported and nothing else: the datagram is handled like any other.
  bool isSigWordValid = true;
  /// The same for a status kind that is neither 1 nor 2.
  bool isStatusKindValid = true;
  /// The data of the file element, inside the buffer; nothing when the datagram carries no file.
  std::optional<std::span<const std::byte>> fileData;
};

/// Unpacks the datagram at the start of `buffer` into `record`.
///
/// `buffer` is the whole receive buffer, at least as long as a header's fixed fields, not only the
/// bytes that arrived: a datagram that is shorter than its elements say is completed by what lies
/// behind it. What the datagram does not carry keeps its value in `record`, and so do the bytes of a
/// longer command status before it. The record's file path is left alone.
DatagramContent unpackDatagram(std::span<const std::byte> buffer, LcdPacketRecord& record);

/// The messages that `content` calls for, each with the line break that it begins with; empty for a
/// good datagram. The bytes of the signature `sigWord` stand in it raw, as they came.
std::string datagramReport(const DatagramContent& content, std::uint32_t sigWord);

}  // namespace quendal
