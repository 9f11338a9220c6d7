#include "transfer/store/store_state.h"

namespace quendal::shared {

WriteBack writeBack;

}  // namespace quendal::shared
