#include "support/packet_builder.h"

#include "transfer/packet/byte_order.h"

#include <charconv>
#include <stdexcept>

namespace quendal {
namespace {

constexpr std::uint16_t kFileElementKind = 3;
constexpr int kHexadecimal = 16;
constexpr char kFiller = '\x5A';

std::string littleEndian32(std::uint32_t value) {
  std::string bytes(sizeof value, '\0');
  writeU32(std::as_writable_bytes(std::span(bytes)), 0, value);
  return bytes;
}

}  // namespace

std::string fromHex(const std::string& pairs) {
  std::string bytes;
  for (std::size_t at = 0; at < pairs.size();) {
    if (pairs[at] == ' ') {
      ++at;
      continue;
    }
    unsigned value = 0;
    const char* const end = pairs.data() + at + 2;
    if (at + 2 > pairs.size() || std::from_chars(pairs.data() + at, end, value, kHexadecimal).ptr != end) {
      throw std::invalid_argument("not pairs of hexadecimal digits: " + pairs);
    }
    bytes.push_back(static_cast<char>(value));
    at += 2;
  }
  return bytes;
}

std::span<const std::byte> asBytes(const std::string& bytes) {
  return std::as_bytes(std::span(bytes));
}

std::string heartbeatPacket() {
  return fromHex(
      "14 00 00 00 5C C5 02 00 00 00 00 00 00 00 00 00 E8 8E A5 A5"
      "09 00 00 00 02 00 00 00 01");
}

std::string headerElement(std::uint8_t elementCount, std::uint32_t length) {
  std::string element(length, kFiller);
  encodeHeader({.headerLength = length, .elementCount = elementCount}, std::as_writable_bytes(std::span(element)));
  return element;
}

std::string commandStatusElement(std::uint16_t statusKind, std::uint32_t length) {
  std::string element(length, kFiller);
  encodeCommandStatus({.elementLength = length, .statusKind = statusKind}, std::as_writable_bytes(std::span(element)));
  return element;
}

std::string fileElementHead(std::uint16_t nameLength, std::uint32_t dataLength) {
  std::string head(kFileElementHeadSize, '\0');
  const std::span<std::byte> bytes = std::as_writable_bytes(std::span(head));
  writeU32(bytes, 0, static_cast<std::uint32_t>(kFileElementOverhead) + nameLength + dataLength);
  writeU16(bytes, 4, kFileElementKind);
  writeU16(bytes, 8, nameLength);
  return head;
}

std::string fileElement(const std::string& name, const std::string& data) {
  const auto dataLength = static_cast<std::uint32_t>(data.size());
  return fileElementHead(static_cast<std::uint16_t>(name.size()), dataLength) + name + littleEndian32(dataLength) +
         data;
}

std::string filePacket(const std::string& name, const std::string& data) {
  return headerElement(3) + commandStatusElement() + fileElement(name, data);
}

}  // namespace quendal
