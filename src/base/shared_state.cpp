#include "base/shared_state.h"

namespace quendal::shared {

Flag stopReq = false;
Flag dataStopReq = false;
Flag auxStopReq = false;

std::string idFilePath;
std::uint16_t groupNo = 0;
std::uint16_t columnNo = 0;
std::uint16_t displayNo = 0;
std::string targetRootDir;
std::string tempDestDir;

DisplayIdentity ownIdentity() {
  return {.groupNo = groupNo, .columnNo = columnNo, .displayNo = displayNo};
}

}  // namespace quendal::shared
