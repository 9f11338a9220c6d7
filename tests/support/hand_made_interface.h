// A record of a network interface that need not exist on the machine.
#pragma once

#include <Poco/Net/IPAddress.h>
#include <Poco/Net/NetworkInterface.h>

#include <string>
#include <vector>

namespace quendal {

/// May be copied into a list such as NetworkInterface::list gives. Only the display name is free: the
/// library asks the kernel about the interface `name`, so that is one which every machine has.
class HandMadeInterface : public Poco::Net::NetworkInterface {
 public:
  HandMadeInterface(const std::string& displayName, const std::vector<std::string>& addresses,
                    unsigned index = kDefaultIndex)
      : NetworkInterface("lo", displayName, displayName, index) {
    for (const std::string& address : addresses) {
      addAddress(Poco::Net::IPAddress(address));
    }
  }

 private:
  static constexpr unsigned kDefaultIndex = 7;
};

}  // namespace quendal
