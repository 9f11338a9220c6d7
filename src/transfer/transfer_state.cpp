#include "transfer/transfer_state.h"

namespace quendal::shared {

std::uint16_t dataPort = 0;

Flag dataReinitReq = false;
Flag dataPauseReq = false;
Flag dataPaused = false;

Flag dontCareMode = false;
std::array<std::byte, 1024> fileChunkBuffer{};
LcdPacketRecord dataRxRecord;
LcdPacketRecord spareRecord;

PauseFlags dataPauseFlags() {
  return {.request = dataPauseReq, .paused = dataPaused};
}

}  // namespace quendal::shared
