// Small questions about texts. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quendal {

/// Does `part` occur in `text`?
bool contains(std::string_view text, std::string_view part);

/// The pieces of `text` between the occurrences of `separator`, every empty piece included: n
/// separators always give n + 1 pieces. An empty separator gives `text` as the one piece.
std::vector<std::string> split(std::string_view text, std::string_view separator);

/// `path` and, behind a colon, what the system's error number `error` means.
std::string withReason(const std::string& path, int error);

/// `text` with A to Z in lower case, whatever the locale.
std::string asciiLowerCase(std::string_view text);

}  // namespace quendal
