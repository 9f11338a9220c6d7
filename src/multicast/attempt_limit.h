// How often this display connects to whomever a datagram names.
#pragma once

#include <Poco/Clock.h>
#include <Poco/Net/IPAddress.h>

#include <cstddef>
#include <deque>

namespace quendal {

/// Whoever sends a datagram chooses the host that the display connects to. So that a crowd of displays is no weapon,
/// connections are rationed: two in any second for one sender's address, twenty in any second for all of them.
class AttemptLimit {
 public:
  static constexpr std::size_t kForOneSender = 2;
  static constexpr std::size_t kForAll = 20;

  /// May one be made now for `sender`? One that may is counted. `now` never goes back.
  bool admit(const Poco::Net::IPAddress& sender, const Poco::Clock& now);

 private:
  struct Attempt {
    Poco::Clock moment;
    Poco::Net::IPAddress sender;
  };

  std::deque<Attempt> attempts_;  // of the last second, at most kForAll
};

}  // namespace quendal
