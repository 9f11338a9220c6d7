// The process's standard error stream, written to without ever waiting.
#pragma once

#include "base/descriptor.h"

#include <sys/stat.h>

#include <cstddef>
#include <string_view>

namespace quendal {

/// Descriptor 2, whatever stands there: a pipe, a terminal or a journal's socket that nobody reads for hours, and
/// on which a plain write would hold the calling thread for as long.
///
/// The descriptor itself stays as it is, because its status flags are shared with everybody who holds it, a
/// shell or a supervisor among them: a pipe or terminal is opened once more for this process alone, a socket is
/// told with each write not to wait, and a file on a disk, whose offset is shared, is written to plainly.
/// One thread at a time may use an object.
class ErrorStream {
 public:
  /// Looks at what stands at descriptor 2 and prepares for it. True: it is not what stood there at the last call.
  bool follow();

  /// Writes as much of the beginning of `text` as the stream takes at once. Returns the number of bytes: less
  /// than all when there is no more room now, nobody can hear it, or the disk is full.
  std::size_t write(std::string_view text);

 private:
  enum class Way { kNone, kPlain, kOwnDescriptor, kSocket, kPolled };

  Way prepare();
  ssize_t writeOnce(std::string_view text) const;

  struct stat status_ {};
  Way way_ = Way::kNone;
  Descriptor own_;
};

}  // namespace quendal
