// Files that are read whole, with their errors seen.
#pragma once

#include <cstddef>
#include <string>

namespace quendal {

/// The contents of the plain file at `path`, of at most `maxSize` bytes. What waits for others when it is opened,
/// such as a FIFO, does not hold the caller.
///
/// Throws Poco::FileNotFoundException when there is none, Poco::FileAccessDeniedException, and
/// Poco::OpenFileException or Poco::ReadFileException, saying why, for all else.
std::string readPlainFile(const std::string& path, std::size_t maxSize);

/// The contents of a file of the kernel's own, below /proc or /sys: at most some KiB. Empty when it cannot be read;
/// an interface or a drive may have gone since it was last seen. Throws nothing but std::bad_alloc.
std::string readSystemFile(const std::string& path);

}  // namespace quendal
