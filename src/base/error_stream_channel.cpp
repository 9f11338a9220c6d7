#include "base/error_stream_channel.h"

#include "base/console.h"

#include <Poco/AutoPtr.h>
#include <Poco/Instantiator.h>
#include <Poco/Logger.h>
#include <Poco/LoggingFactory.h>

namespace quendal {

void ErrorStreamChannel::log(const Poco::Message& message) {
  console::write(message.getText() + "\n");
}

void ErrorStreamChannel::install() {
  Poco::LoggingFactory::defaultFactory().registerChannelClass(
      "ErrorStreamChannel", new Poco::Instantiator<ErrorStreamChannel, Poco::Channel>);
  Poco::Logger::setChannel("", Poco::AutoPtr<Poco::Channel>(new ErrorStreamChannel));
}

}  // namespace quendal
