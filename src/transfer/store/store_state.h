// The process-wide variables of what becomes of received files on the disk.
//
// base/shared_state.h says what keeps them safe.
#pragma once

#include "transfer/store/staging.h"
#include "transfer/store/write_back.h"

namespace quendal::shared {

extern bool stagedTransfers;  // written by the start-up, read by file reception

// --- The reactor's thread; DataTask's while there is no reactor ---

extern WriteBack writeBack;
extern Staging staging;

}  // namespace quendal::shared
