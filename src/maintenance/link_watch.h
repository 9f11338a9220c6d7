// The link's watch: is the link up, and what a change of that means for the network tasks.
#pragma once

#include "base/flags.h"

#include <Poco/File.h>
#include <Poco/Net/NetworkInterface.h>

#include <functional>

namespace quendal {

/// What the watch sees of the link in one look.
struct LinkSight {
  bool hasCarrierFile = false;
  bool hasInterface = false;      // the watched interface is among those that are up and have an address
  bool hasCarrier = false;        // asked for only where the carrier file is there
  bool hasUsableAddress = false;  // the address that is remembered
};

enum class LinkVerdict {
  kDown,
  kUp,
  kRefresh,  // the address has to be refreshed and the link looked at again
};

/// Judges the first look of a cycle; `wasUp`: the link counted as up so far. An interface that is not in the
/// list yet and a carrier that is away both ask for the refresh, which may bring the interface up; a link
/// that was down always does. Pure.
LinkVerdict judgeLink(const LinkSight& sight, bool wasUp);

/// Judges the second look, behind a refresh. Pure.
LinkVerdict judgeRefreshedLink(const LinkSight& sight);

/// Is `now`, the linked interface as it is found now, another one than `used`, or under another address? Not
/// while it has no usable address: what is used stays in use until there is something better. Pure.
bool hasMoved(const Poco::Net::NetworkInterface& used, const Poco::Net::NetworkInterface& now);

/// Waits that many milliseconds, or until the service is asked to stop.
using LinkWait = std::function<void(long milliseconds)>;

/// Decides once in each cycle whether the link is up, and on a change pauses or releases the network tasks
/// and tells the display application. While the link stays up it follows the linked interface to another
/// address, and to another interface of that name, without an event. docs/handshakes.md shows both
/// handshakes. MainTask's thread.
class LinkWatch {
 public:
  explicit LinkWatch(LinkWait wait) : wait_(std::move(wait)) {}

  /// Takes the first list of interfaces and the address of the linked one. Throws what the listing throws.
  void prepare();

  /// One cycle. Without a link it waits for 6 s, and the DHCP client may take 30 s. Throws Poco::Exception when
  /// the interfaces cannot be listed; a transition that is unfinished then is made up for in the next cycle.
  void runCycle();

 private:
  LinkSight look() const;
  void forgetReplacedInterface();
  LinkVerdict refreshAddress();
  void rememberInterfaces();
  void handleLinkUp();
  void handleLinkDown();
  void followInterface();
  void releaseNetworkTasks();
  void pauseNetworkTasks();

  LinkWait wait_;
  Poco::File carrierFile_;
  Poco::Net::NetworkInterface::List interfaces_;
};

}  // namespace quendal
