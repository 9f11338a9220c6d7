// The wait between the last file of a transfer and the word to the display that it is complete.
#pragma once

#include "transfer/store/write_back.h"

#include <chrono>
#include <optional>

namespace quendal {

/// The waits of one file element: one, or a second one after the first has failed. Runs on the reactor thread.
class TransferEnd {
 public:
  /// Waits `wait`, which the display needs and nothing shortens, and then as awaitDisk.
  bool await(std::chrono::milliseconds wait);

  /// Waits until all that was stored before is on its disk; but a minute at most from the first wait's begin
  /// on, and no longer once the service has to stop or pause. False: the disk does not have it, which has
  /// been said in a line.
  bool awaitDisk();

  /// How long all of it has taken so far.
  std::chrono::milliseconds waited() const;

 private:
  void begin();

  std::optional<WriteBack::TimePoint> begin_;
  bool isLateSaid_ = false;
};

}  // namespace quendal
