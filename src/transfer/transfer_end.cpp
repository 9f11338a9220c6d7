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
  begin_ = begin_.value_or(steady_clock::now());
  const WriteBack::Ticket ticket = shared::writeBack.request();
  platform::sleepMs(wait.count());
  if (shared::writeBack.await(ticket, *begin_ + kLongestWait, hasToEnd)) {
    return true;
  }
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(waited());
  console::line("Received files are not on the disk after " + std::to_string(seconds.count()) +
                " s, the display is told all the same");
  return false;
}

std::chrono::milliseconds TransferEnd::waited() const {
  return begin_ ? std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - *begin_)
                : std::chrono::milliseconds(0);
}

}  // namespace quendal
