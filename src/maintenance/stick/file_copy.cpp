#include "maintenance/stick/file_copy.h"

#include "base/fenced_file.h"

#include <Poco/Error.h>
#include <Poco/Exception.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <span>
#include <system_error>

namespace quendal {
namespace {

constexpr std::size_t kCopyBufferSize = 65536;
constexpr mode_t kPermissionBits = 0777;

// The file on the stick, open for reading.
class StickFile {
 public:
  explicit StickFile(const std::string& path)
      : path_(path), descriptor_(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)) {
    if (descriptor_ < 0) {
      fail();
    }
  }
  ~StickFile() { ::close(descriptor_); }
  StickFile(const StickFile&) = delete;
  StickFile& operator=(const StickFile&) = delete;
  StickFile(StickFile&&) = delete;
  StickFile& operator=(StickFile&&) = delete;

  mode_t permissions() const {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) {
      fail();
    }
    return status.st_mode & kPermissionBits;
  }

  // Fills the front of `buffer`; empty at the end of the file.
  std::span<const std::byte> read(std::span<std::byte> buffer) const {
    const ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
    if (count < 0) {
      fail();
    }
    return buffer.first(static_cast<std::size_t>(count));
  }

 private:
  [[noreturn]] void fail() const {
    const int error = errno;
    const std::string message = path_ + ": " + Poco::Error::getMessage(error);
    if (error == ENOENT) {
      throw Poco::FileNotFoundException(message);
    }
    throw Poco::ReadFileException(message);
  }

  std::string path_;
  int descriptor_;
};

void copyBytes(const StickFile& source, FencedFile& target) {
  std::array<std::byte, kCopyBufferSize> buffer{};
  for (auto bytes = source.read(buffer); !bytes.empty(); bytes = source.read(buffer)) {
    target.write(bytes);
  }
  target.close();
}

using Fence = FencedPath (*)(const std::string& directory, const std::string& name);

bool isRefused(Fence fence, const std::string& directory, const std::string& name) {
  try {
    fence(directory, name);
  } catch (const Poco::InvalidAccessException&) {
    return true;
  } catch (const Poco::FileNotFoundException&) {
    return false;
  }
  return false;
}

}  // namespace

// A directory that stands in the way in `directory` is no matter of the name: the copy fails at it.
bool isCopyAllowed(const std::string& folder, const std::string& directory, const std::string& name) {
  if (isRefused(resolveInside, folder, name) || isRefused(resolvePlaceInside, directory, name)) {
    return false;
  }
  std::error_code ignored;
  return !std::filesystem::is_symlink(folder + "/" + name, ignored);
}

void copyStickFile(const std::string& folder, const std::string& directory, const std::string& name) {
  const StickFile source(folder + "/" + name);
  FencedFile target(directory, name, source.permissions());
  try {
    copyBytes(source, target);
  } catch (const std::exception&) {
    std::error_code ignored;
    std::filesystem::remove(directory + "/" + name, ignored);
    throw;
  }
}

}  // namespace quendal
