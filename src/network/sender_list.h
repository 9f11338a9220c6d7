// Which hosts the service listens to.
#pragma once

#include <Poco/Net/IPAddress.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quendal {

/// IPv4 addresses and networks; a list that was never given is everybody's.
class SenderList {
 public:
  /// The list that `text` writes down: addresses ("10.1.2.3") and networks with the length of their prefix
  /// ("192.168.77.0/24"), with commas between them and blanks around them.
  ///
  /// Throws Poco::InvalidArgumentException, naming the entry: one that is empty, no address in its plain form, with
  /// a prefix length outside 0 to 32, or with bits set behind its prefix ("10.1.2.3/8" may mean two things).
  static SenderList parse(const std::string& text);

  /// Is `address` one of the list's? No address that is not IPv4 is on a list.
  bool allows(const Poco::Net::IPAddress& address) const;

 private:
  struct Network {
    std::uint32_t address;  // in the host's byte order, as the mask
    std::uint32_t mask;
  };

  static Network parseEntry(const std::string& entry);

  std::vector<Network> networks_;  // none: everybody
};

}  // namespace quendal
