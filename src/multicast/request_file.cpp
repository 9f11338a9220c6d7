#include "multicast/request_file.h"

#include <Poco/Exception.h>
#include <Poco/FileStream.h>
#include <Poco/StreamCopier.h>

#include <sstream>

namespace quendal {

using Poco::Util::IniFileConfiguration;

namespace {

constexpr int kMaxReferences = 8;

int countReferences(const std::string& text) {
  int count = 0;
  for (std::size_t at = text.find("${"); at != std::string::npos; at = text.find("${", at + 1)) {
    ++count;
  }
  return count;
}

}  // namespace

Poco::AutoPtr<IniFileConfiguration> parseRequestFile(const std::string& text) {
  if (countReferences(text) > kMaxReferences) {
    throw Poco::DataFormatException("more than " + std::to_string(kMaxReferences) + " references");
  }
  std::istringstream stream(text);
  return new IniFileConfiguration(stream);
}

Poco::AutoPtr<IniFileConfiguration> loadRequestFile(const std::string& path) {
  Poco::FileInputStream file(path, std::ios::binary);
  std::string text;
  Poco::StreamCopier::copyToString(file, text);
  return parseRequestFile(text);
}

}  // namespace quendal
