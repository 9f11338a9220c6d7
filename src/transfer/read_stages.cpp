#include "transfer/read_stages.h"

#include "base/console.h"

#include <exception>

namespace quendal {

unsigned readStage(PacketReader& reader, const ReadStage& stage, std::span<std::byte> bytes, const Deadline& deadline) {
  try {
    if (reader.readExactly(bytes, deadline) == ReadResult::kComplete) {
      return 0;
    }
    console::line(stage.closedMessage);
    return stage.closedCode;
  } catch (const std::exception& failure) {
    console::failure(stage.exceptionHeading, failure);
    if (stage.closedMessageAfterException) {
      console::line(stage.closedMessage);
    }
    return stage.exceptionCode;
  }
}

}  // namespace quendal
