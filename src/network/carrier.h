// The carrier of the wired interface, as the kernel reports it in its carrier file.
#pragma once

#include <span>
#include <string>

namespace quendal {

/// Reads at most 4 characters of the first line of the carrier file at `path` into `buffer` (5 bytes,
/// cleared first, zero-terminated after) and says whether there is a carrier.
///
/// Down when the first character is '0' or the file cannot be opened. Up otherwise, also when nothing
/// could be read: the kernel refuses to read the file of an interface that is administratively down,
/// and that interface has to be brought up, not given up. `path` is a system path (platform.h).
bool isCarrierUp(const std::string& path, std::span<char, 5> buffer);

}  // namespace quendal
