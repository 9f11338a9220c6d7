#include "transfer/data_reactor.h"

#include "base/console.h"
#include "base/guard.h"
#include "base/platform.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace quendal {
namespace {

// An end that could not wake the reactor up is seen after this time.
constexpr int kRoundMs = 250;
// What fails at once fails again at once; this keeps it from taking a whole core.
constexpr long kFailedRoundWaitMs = 100;
constexpr const char* kFailureHeading = "DataReactor: Exception Met!";

int descriptorOf(const Poco::Net::Socket& socket) {
  return socket.impl()->sockfd();
}

}  // namespace

DataReactor::DataReactor() : wakeUp_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  polled_.reserve(1);
}

void DataReactor::add(const Poco::Net::Socket& socket, Callback onReadable, Callback onShutdown) {
  polled_.reserve(clients_.size() + 2);
  clients_.insert_or_assign(descriptorOf(socket), Client{socket, std::move(onReadable), std::move(onShutdown)});
}

void DataReactor::stopReading(const Poco::Net::Socket& socket) {
  if (const auto found = clients_.find(descriptorOf(socket)); found != clients_.end()) {
    found->second.onReadable = nullptr;
  }
}

void DataReactor::remove(const Poco::Net::Socket& socket) {
  clients_.erase(descriptorOf(socket));
}

bool DataReactor::has(const Poco::Net::Socket& socket) const {
  return clients_.contains(descriptorOf(socket));
}

void DataReactor::run() {
  while (!closing_) {
    if (awaitReadable()) {
      serveReadable();
    }
  }
  shutDownAll();
}

void DataReactor::close() {
  closing_ = true;
  closing_.notify_all();
  const std::uint64_t one = 1;
  // NOLINTNEXTLINE(bugprone-unused-return-value,cert-err33-c): the end of the round comes all the same
  [[maybe_unused]] const ssize_t written = ::write(wakeUp_.get(), &one, sizeof one);
}

// A missing descriptor is a negative number, which the system passes over.
bool DataReactor::awaitReadable() {
  polled_.assign(1, {.fd = wakeUp_.get(), .events = POLLIN, .revents = 0});
  for (const auto& [descriptor, client] : clients_) {
    if (client.onReadable) {
      polled_.push_back({.fd = descriptor, .events = POLLIN, .revents = 0});
    }
  }
  if (::poll(polled_.data(), polled_.size(), kRoundMs) >= 0) {
    return true;
  }
  if (errno != EINTR) {
    console::line(std::string("DataReactor: poll failed: ") + std::strerror(errno));  // NOLINT(concurrency-mt-unsafe)
    platform::sleepMs(kFailedRoundWaitMs);
  }
  return false;
}

// By index: whoever is served may add a client. After the close nobody is served any more.
void DataReactor::serveReadable() {
  for (std::size_t at = 1; at < polled_.size() && !closing_; ++at) {
    if (polled_[at].revents != 0) {
      serve(polled_[at].fd);
    }
  }
}

// A copy of the callback: it may remove its own client.
void DataReactor::serve(int descriptor) {
  const auto found = clients_.find(descriptor);
  if (found == clients_.end() || !found->second.onReadable) {
    return;
  }
  if (!guard(kFailureHeading, [onReadable = found->second.onReadable] { onReadable(); })) {
    platform::sleepMs(kFailedRoundWaitMs);
  }
}

void DataReactor::shutDownAll() {
  while (!clients_.empty()) {
    const auto client = clients_.extract(clients_.begin());
    if (client.mapped().onShutdown) {
      guard(kFailureHeading, client.mapped().onShutdown);
    }
  }
}

}  // namespace quendal
