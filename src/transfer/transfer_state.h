// The process-wide variables of the TCP data service.
//
// base/shared_state.h says what keeps them safe.
#pragma once

#include "base/flags.h"
#include "base/pause_handshake.h"
#include "transfer/packet/lcd_packet_record.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace quendal::shared {

extern std::uint16_t dataPort;  // written by the start-up, read by DataTask

extern Flag dataReinitReq;  // re-open the data service: set by a connection handler, cleared by DataTask
extern Flag dataPauseReq;   // keep the data service closed: written by MainTask, read by DataTask
extern Flag dataPaused;     // the data service is closed: written by DataTask, read by MainTask

/// The two flags of DataTask's pause handshake.
PauseFlags dataPauseFlags();

// --- The reactor's thread only ---

extern Flag dontCareMode;  // received files go to tempDestDir
extern std::array<std::byte, 1024> fileChunkBuffer;
extern LcdPacketRecord dataRxRecord;
extern LcdPacketRecord spareRecord;  // nobody

}  // namespace quendal::shared
