// A multicast datagram from unpacking to the server that its file names, over arbitrary bytes.

#include "base/ini_file.h"
#include "fuzz/require.h"
#include "multicast/datagram.h"
#include "multicast/request_file.h"
#include "transfer/packet/lcd_packet_record.h"

#include <Poco/Exception.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace quendal {
namespace {

using fuzz::require;
using Bytes = std::span<const std::byte>;

constexpr std::size_t kReceiveBufferSize = 1000;
constexpr std::byte kUntouched{0xA7};

void checkRecord(const LcdPacketRecord& record) {
  require(record.headerLength <= kReceiveBufferSize, "a header comes from the buffer");
  require(std::all_of(record.rawHeader.begin() + record.headerLength, record.rawHeader.end(),
                      [](std::byte byte) { return byte == kUntouched; }),
          "nothing is written behind the header");
  require(record.commandStatusLength <= kReceiveBufferSize, "a command status comes from the buffer");
  require(std::all_of(record.rawCommandStatus.begin() + record.commandStatusLength, record.rawCommandStatus.end(),
                      [](std::byte byte) { return byte == kUntouched; }),
          "nothing is written behind the command status");
  require(record.fileName.size() <= kMaxFileNameLength, "a name fits the record");
  require(record.fileNameBuffer.at(record.fileName.size()) == '\0', "a name ends with a zero byte");
}

void checkFile(Bytes data, Bytes buffer) {
  require(data.data() >= buffer.data() && data.data() + data.size() <= buffer.data() + buffer.size(),
          "file data lies in the buffer");
  std::string text(data.size(), '\0');
  std::ranges::copy(data, std::as_writable_bytes(std::span(text)).begin());
  try {
    const auto request = parseIniText(text, "request");
    if (request->hasProperty(kServerPortKey)) {
      request->getInt(kServerPortKey);
      request->getString(kServerIpKey);
    }
  } catch (const Poco::Exception&) {
    return;  // a request file that is none: reported by the alive check
  }
}

// As the bytes of one datagram lie in the receive buffer; longer ones are cut off there.
void unpack(Bytes datagram) {
  std::array<std::byte, kReceiveBufferSize> buffer{};
  std::copy_n(datagram.begin(), std::min(datagram.size(), buffer.size()), buffer.begin());
  LcdPacketRecord record;
  record.rawHeader.fill(kUntouched);
  record.rawCommandStatus.fill(kUntouched);

  const DatagramContent content = unpackDatagram(buffer, record);

  checkRecord(record);
  require(content.fits || !content.fileData, "what does not fit carries no file");
  require(!content.fits || content.fileData.has_value() == (record.elementCount == 3), "three elements carry a file");
  require(datagramReport(content, record.sigWord).empty() ==
              (content.fits && content.isSigWordValid && content.isStatusKindValid),
          "a bad datagram is reported");
  if (content.fileData) {
    checkFile(*content.fileData, buffer);
  }
}

}  // namespace
}  // namespace quendal

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quendal::unpack(std::as_bytes(std::span(data, size)));
  return 0;
}
