#include "base/ini_file.h"

#include "base/descriptor.h"
#include "base/interrupted_call.h"
#include "base/text.h"

#include <Poco/Exception.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <sstream>
#include <string_view>
#include <utility>

namespace quendal {
namespace {

using Poco::Util::IniFileConfiguration;

constexpr std::size_t kReadSize = 16384;
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

[[noreturn]] void refuseToOpen(const std::string& path, int error) {
  switch (error) {
    case ENOENT:
      throw Poco::FileNotFoundException(path);
    case EACCES:
      throw Poco::FileAccessDeniedException(path);
    default:
      throw Poco::OpenFileException(withReason(path, error));
  }
}

std::string readPlainFile(const std::string& path) {
  const Descriptor file(
      retryInterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
  if (!file.isOpen()) {
    refuseToOpen(path, errno);
  }
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    throw Poco::OpenFileException(path + ": not a plain file");
  }
  std::string text;
  std::array<char, kReadSize> part{};
  while (text.size() <= kMaxIniFileSize) {
    const ssize_t count = retryInterrupted([&] { return ::read(file.get(), part.data(), part.size()); });
    if (count < 0) {
      throw Poco::ReadFileException(withReason(path, errno));
    }
    if (count == 0) {
      return text;
    }
    text.append(part.data(), static_cast<std::size_t>(count));
  }
  throw Poco::ReadFileException(path + ": more than " + std::to_string(kMaxIniFileSize) + " bytes");
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
  return parseIniText(readPlainFile(path), path);
}

}  // namespace quendal
