#include "transfer/transfer_end.h"

#include "base/console.h"
#include "base/platform.h"
#include "base/shared_state.h"
#include "transfer/store/store_state.h"
#include "transfer/transfer_state.h"

namespace quendal {

using std::chrono::steady_clock;

namespace {

// A display that is never told shows nothing for ever, so a disk that takes longer than any sound one is not
// waited for.
constexpr std::chrono::minutes kLongestWait{1};

bool hasToEnd() {
  return shared::dataStopReq || shared::dataPauseReq;
}

}  // namespace

bool TransferEnd::await(std::chrono::milliseconds wait) {
  begin();
  platform::sleepMs(wait.count());
  return awaitDisk();
}

bool TransferEnd::awaitDisk() {
  begin();
  if (shared::writeBack.await(shared::writeBack.request(), *begin_ + kLongestWait, hasToEnd)) {
    return true;
  }
  if (!isLateSaid_) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(waited());
    console::line("Received files are not on the disk after " + std::to_string(seconds.count()) +
                  " s, the display is told all the same");
    isLateSaid_ = true;
  }
  return false;
}

// The disk has all of the wait's time.
void TransferEnd::begin() {
  begin_ = begin_.value_or(steady_clock::now());
  shared::writeBack.request();
}

std::chrono::milliseconds TransferEnd::waited() const {
  return begin_ ? std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - *begin_)
                : std::chrono::milliseconds(0);
}

}  // namespace quendal
