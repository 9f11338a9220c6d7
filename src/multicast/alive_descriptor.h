// The alive descriptor: the small text by which a display tells who and where it is.
#pragma once

#include "base/display_identity.h"

#include <string>

namespace quendal {

/// The name under which the descriptor travels.
inline constexpr const char* kAliveDescriptorName = "KV_ALIVE_DESC.spt";

/// The descriptor's text. `hardwareAddress` is the content of the interface's address file as it stands,
/// normally with a line break of its own; empty when there is none.
std::string aliveDescriptorText(const DisplayIdentity& own, const std::string& ipAddress,
                                const std::string& hardwareAddress);

/// Writes this display's descriptor to a new file at `path`. When that fails no file is left there, so
/// that no reply carries half a descriptor. McTask's thread.
void writeAliveDescriptor(const std::string& path);

}  // namespace quendal
