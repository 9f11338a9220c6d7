#include "base/retry.h"

namespace quendal {
namespace {

constexpr Poco::Timestamp::TimeDiff kRetrySeconds = 10;

}  // namespace

bool isRetryDue(const Poco::Timestamp& last, const Poco::Timestamp& now) {
  return now < last || now - last >= kRetrySeconds * Poco::Timestamp::resolution();
}

}  // namespace quendal
