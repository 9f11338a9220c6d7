#include "support/served_connection.h"

#include "support/eventually.h"
#include "transfer/data_service_handler.h"
#include "transfer/transfer_state.h"

#include <Poco/Timespan.h>
#include <gtest/gtest.h>

namespace quendal {
namespace {

constexpr Poco::Timespan::TimeDiff kPollUs = 1000;

}  // namespace

ServedConnection::ServedConnection() : pair_(connectLoopback()), peer_(pair_.transmitter.address().toString()) {
  shared::dataReinitReq = false;
  new DataServiceHandler(pair_.accepted, reactor_);  // deletes itself when the reactor shuts down
  pair_.accepted.setReceiveTimeout(Poco::Timespan(kPollUs));
}

ServedConnection::~ServedConnection() {
  run();
  end();
}

void ServedConnection::run() {
  if (!thread_.joinable() && !reactor_.isClosing()) {
    thread_ = std::thread([this] { reactor_.run(); });
  }
}

std::string ServedConnection::runUntilFailure() {
  run();
  EXPECT_TRUE(eventually([] { return shared::dataReinitReq.load(); }));
  end();

  const std::string text = messages();
  const std::string first = "Connection from " + peer_ + "\n";
  const std::string last = "Disconnecting " + peer_ + "\n";
  if (!text.starts_with(first) || !text.ends_with(last)) {
    ADD_FAILURE() << "not the life of a connection: " << text;
    return text;
  }
  return text.substr(first.size(), text.size() - first.size() - last.size());
}

void ServedConnection::end() {
  if (thread_.joinable()) {
    reactor_.close();
    thread_.join();
  }
}

}  // namespace quendal
