// The service's diagnostics: plain text on the standard error stream, one message in one write.
//
// Several tasks report at the same time. Each message is composed whole and leaves in a single write, so that
// lines of different tasks never interleave. Any thread may call these functions; none of them throws, and none
// waits for the stream: a message that finds no room, or no memory, is dropped, and the number of those is told in a
// line of its own as soon as there is room again. A message whose beginning has left is completed before anything else.
#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace quendal::console {

/// Writes `text` as it stands.
void write(std::string_view text) noexcept;

/// Writes a line break and `text`: the form of most messages.
void line(std::string_view text) noexcept;

/// Writes a caught failure in the system's form: a line break, `heading` (such as
/// "DataTask: Exception Met!"), a line break, `label` and the text of `failure`.
void failure(std::string_view heading, const std::exception& failure,
             std::string_view label = "Exception Message:") noexcept;

/// Writes what is still owed from a time without room: the rest of a message, the number of those dropped. Every
/// message does so before itself; a quiet service calls this now and then.
void flush() noexcept;

/// The text of an exception: displayText() of a Poco::Exception, what() of any other.
std::string failureText(const std::exception& failure);

}  // namespace quendal::console
