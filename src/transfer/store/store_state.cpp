#include "transfer/store/store_state.h"

namespace quendal::shared {

bool stagedTransfers = false;
WriteBack writeBack;
Staging staging(writeBack);

}  // namespace quendal::shared
