// The service's diagnostics: plain text on the standard error stream, one message in one write.
//
// Several tasks report at the same time. Each message is composed whole and leaves in a single
// write(2), so that lines of different tasks never interleave. Any thread may call these functions;
// none of them throws, and a stream that nobody reads is no error.
#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace quendal::console {

/// Writes `text` as it stands.
void write(std::string_view text);

/// Writes a line break and `text`: the form of most messages.
void line(std::string_view text);

/// Writes a caught failure in the system's form: a line break, `heading` (such as
/// "DataTask: Exception Met!"), a line break, `label` and the text of `failure`.
void failure(std::string_view heading, const std::exception& failure, std::string_view label = "Exception Message:");

/// The text of an exception: displayText() of a Poco::Exception, what() of any other.
std::string failureText(const std::exception& failure);

}  // namespace quendal::console
