#include "base/platform.h"

#include "base/command_run.h"
#include "base/service_task.h"
#include "base/shared_state.h"

#include <Poco/Thread.h>

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <csignal>
#include <memory>

namespace quendal {
namespace platform {
namespace {

// Both ways in which a stop shows: during the start-up, and until the main thread has seen it, the request is a
// blocked signal that waits.
bool isStopping() {
  if (shared::stopReq || shared::dataStopReq) {
    return true;
  }
  sigset_t waiting{};
  sigpending(&waiting);
  return sigismember(&waiting, SIGTERM) == 1 || sigismember(&waiting, SIGINT) == 1 ||
         sigismember(&waiting, SIGQUIT) == 1;
}

template <typename Address>
const Address* as(const sockaddr* address, sa_family_t family) {
  return address != nullptr && address->sa_family == family ? reinterpret_cast<const Address*>(address) : nullptr;
}

bool leadsTo4(const ifaddrs& interface, in_addr_t address) {
  const auto* own = as<sockaddr_in>(interface.ifa_addr, AF_INET);
  if (own == nullptr) {
    return false;
  }
  const auto* mask = as<sockaddr_in>(interface.ifa_netmask, AF_INET);
  if ((interface.ifa_flags & IFF_LOOPBACK) != 0 && mask != nullptr) {
    return (address & mask->sin_addr.s_addr) == (own->sin_addr.s_addr & mask->sin_addr.s_addr);
  }
  const auto* all =
      (interface.ifa_flags & IFF_BROADCAST) != 0 ? as<sockaddr_in>(interface.ifa_broadaddr, AF_INET) : nullptr;
  return address == own->sin_addr.s_addr || (all != nullptr && address == all->sin_addr.s_addr);
}

bool leadsTo(const ifaddrs& interface, const sockaddr& address) {
  if (const auto* wanted = as<sockaddr_in>(&address, AF_INET)) {
    return leadsTo4(interface, wanted->sin_addr.s_addr);
  }
  const auto* wanted = as<sockaddr_in6>(&address, AF_INET6);
  const auto* own = as<sockaddr_in6>(interface.ifa_addr, AF_INET6);
  return wanted != nullptr && own != nullptr && IN6_ARE_ADDR_EQUAL(&wanted->sin6_addr, &own->sin6_addr);
}

}  // namespace

int runShell(const std::string& command, const Progress& progress) {
  return runShellIn({}, command, progress);
}

int runShellIn(const std::string& directory, const std::string& command, const Progress& progress) {
  return runCommand({.command = command, .directory = directory, .progress = progress}, CommandLimits(), isStopping);
}

int syncFileSystem(int descriptor) {
  return ::syncfs(descriptor) == 0 ? 0 : errno;
}

void sleepMs(long milliseconds) {
  Poco::Thread::sleep(milliseconds);
}

Poco::Timestamp now() {
  return {};
}

bool isOwnAddress(const sockaddr& address) {
  ifaddrs* first = nullptr;
  if (::getifaddrs(&first) != 0) {
    return true;
  }
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> interfaces(first, &::freeifaddrs);
  for (const ifaddrs* each = interfaces.get(); each != nullptr; each = each->ifa_next) {
    if (leadsTo(*each, address)) {
      return true;
    }
  }
  return false;
}

std::string systemPath(const std::string& path) {
  return path;
}

}  // namespace platform

bool ServiceTask::sleepMs(long milliseconds) {
  Poco::Task::sleep(milliseconds);
  return mustStop();
}

}  // namespace quendal
