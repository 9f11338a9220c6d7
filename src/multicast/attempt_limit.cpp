#include "multicast/attempt_limit.h"

#include <algorithm>

namespace quendal {

bool AttemptLimit::admit(const Poco::Net::IPAddress& sender, const Poco::Clock& now) {
  while (!attempts_.empty() && now - attempts_.front().moment >= Poco::Clock::resolution()) {
    attempts_.pop_front();
  }
  const auto ofSender = static_cast<std::size_t>(std::count_if(
      attempts_.begin(), attempts_.end(), [&](const Attempt& attempt) { return attempt.sender == sender; }));
  if (ofSender >= kForOneSender || attempts_.size() >= kForAll) {
    return false;
  }
  attempts_.push_back({now, sender});
  return true;
}

}  // namespace quendal
