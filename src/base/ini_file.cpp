#include "base/ini_file.h"

#include "base/plain_file.h"

#include <Poco/Exception.h>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>

namespace quendal {
namespace {

using Poco::Util::IniFileConfiguration;

constexpr std::size_t kMaxStoredSize = 8 * kMaxIniFileSize;
constexpr std::size_t kEntryOverhead = 64;  // about what an entry costs beside its texts
constexpr std::size_t kLeastTextHandedOut = 65536;
constexpr std::size_t kTimesHandedOut = 4;

// Each reference may stand for a value with several more. The sum of all values that are handed out, to the
// caller and for each reference alike, bounds the time and the memory of all of that; a file whose values are
// asked for a few times stays far below.
class BoundedIniFile : public IniFileConfiguration {
 public:
  BoundedIniFile(std::istream& stream, std::size_t size, std::string name)
      : IniFileConfiguration(stream),
        name_(std::move(name)),
        leftToHandOut_(kLeastTextHandedOut + kTimesHandedOut * size) {}

 protected:
  ~BoundedIniFile() override = default;

  bool getRaw(const std::string& key, std::string& value) const override {
    if (!IniFileConfiguration::getRaw(key, value)) {
      return false;
    }
    if (value.size() > leftToHandOut_) {
      throw Poco::DataFormatException(name_ + ": its references lead to too much text");
    }
    leftToHandOut_ -= value.size();
    return true;
  }

 private:
  std::string name_;
  mutable std::size_t leftToHandOut_;  // under the library's lock, as everything that calls getRaw
};

// What the parser makes of `text`, or a little more: it puts the section's name before every key.
std::size_t storedSize(std::string_view text) {
  std::size_t sectionSize = 0;
  std::size_t size = 0;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    const std::size_t first = line.find_first_not_of(" \t\v\f\r");
    if (first != std::string_view::npos && line[first] == '[') {
      sectionSize = line.size();
    }
    size += sectionSize + line.size() + kEntryOverhead;
  }
  return size;
}

}  // namespace

IniFile parseIniText(const std::string& text, const std::string& name) {
  if (storedSize(text) > kMaxStoredSize) {
    throw Poco::DataFormatException(name + ": its sections and keys take too much memory");
  }
  std::istringstream stream(text);
  return new BoundedIniFile(stream, text.size(), name);
}

IniFile loadIniFile(const std::string& path) {
  return parseIniText(readPlainFile(path, kMaxIniFileSize), path);
}

}  // namespace quendal
