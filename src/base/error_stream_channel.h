// Log channel for the application logger: one message, one line, one write to the error stream.
#pragma once

#include <Poco/Channel.h>
#include <Poco/Message.h>

namespace quendal {

/// Stands in for POCO's ConsoleChannel, which writes the text and the line break separately and so
/// lets other tasks write in between. Known to the logging configuration as "ErrorStreamChannel".
class ErrorStreamChannel : public Poco::Channel {
 public:
  /// Writes the message's text and a line break.
  void log(const Poco::Message& message) override;

  /// Makes the class known to the logging configuration and puts one on the root logger, which is
  /// what speaks until (and unless) a configuration says otherwise. Call once, before any logging.
  static void install();

 protected:
  ~ErrorStreamChannel() override = default;
};

}  // namespace quendal
