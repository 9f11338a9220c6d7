#include "base/text.h"

#include <Poco/Ascii.h>
#include <Poco/Error.h>

#include <algorithm>

namespace quendal {

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

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

std::string withReason(const std::string& path, int error) {
  return path + ": " + Poco::Error::getMessage(error);
}

std::string asciiLowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
    return static_cast<char>(Poco::Ascii::toLower(static_cast<unsigned char>(letter)));
  });
  return lower;
}

}  // namespace quendal
