// Splitting of folder names and list entries. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quendal {

/// The pieces of `text` between the occurrences of `separator`, every empty piece included: n
/// separators always give n + 1 pieces. An empty separator gives `text` as the one piece.
std::vector<std::string> split(std::string_view text, std::string_view separator);

}  // namespace quendal
