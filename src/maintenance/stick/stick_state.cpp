#include "maintenance/stick/stick_state.h"

namespace quendal::shared {

std::string usbSourceListFile = "KVFILE_XFER_INSTRU.spt";
Flag usbDrivePresent = false;
Flag logDataMode = false;

}  // namespace quendal::shared
