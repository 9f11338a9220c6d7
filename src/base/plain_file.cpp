#include "base/plain_file.h"

#include "base/descriptor.h"
#include "base/interrupted_call.h"
#include "base/text.h"

#include <Poco/Exception.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace quendal {
namespace {

constexpr std::size_t kReadSize = 16384;
constexpr std::size_t kMaxSystemFileSize = 65536;

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

}  // namespace

std::string readPlainFile(const std::string& path, std::size_t maxSize) {
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
  while (text.size() <= maxSize) {
    const ssize_t count = retryInterrupted([&] { return ::read(file.get(), part.data(), part.size()); });
    if (count < 0) {
      throw Poco::ReadFileException(withReason(path, errno));
    }
    if (count == 0) {
      return text;
    }
    text.append(part.data(), static_cast<std::size_t>(count));
  }
  throw Poco::ReadFileException(path + ": more than " + std::to_string(maxSize) + " bytes");
}

std::string readSystemFile(const std::string& path) {
  try {
    return readPlainFile(path, kMaxSystemFileSize);
  } catch (const Poco::Exception&) {
    return {};
  }
}

}  // namespace quendal
