#include "maintenance/text_split.h"

namespace quendal {

std::vector<std::string> split(std::string_view text, std::string_view separator) {
  std::vector<std::string> pieces;
  if (!separator.empty()) {
    for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
      pieces.emplace_back(text.substr(0, end));
      text.remove_prefix(end + separator.size());
    }
  }
  pieces.emplace_back(text);
  return pieces;
}

}  // namespace quendal
