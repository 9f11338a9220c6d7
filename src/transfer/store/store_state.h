// The process-wide variables of what becomes of received files on the disk.
//
// base/shared_state.h says what keeps them safe.
#pragma once

#include "transfer/store/write_back.h"

namespace quendal::shared {

extern WriteBack writeBack;  // the reactor's thread only

}  // namespace quendal::shared
