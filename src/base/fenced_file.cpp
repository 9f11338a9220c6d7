#include "base/fenced_file.h"

#include "base/interrupted_call.h"
#include "base/text.h"

#include <Poco/Exception.h>
#include <Poco/StringTokenizer.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

namespace quendal {
namespace {

constexpr std::size_t kWriteBufferSize = 65536;

// The absolute path behind `path` with all symbolic links resolved.
std::string resolveLinks(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
  if (resolved == nullptr) {
    throw Poco::FileNotFoundException(withReason(path, errno));
  }
  return resolved.get();
}

bool isDirectory(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isInside(const std::string& fence, const std::string& folder) {
  return folder == fence || fence == "/" || folder.starts_with(fence + "/");
}

void refuseBadName(const std::string& name) {
  if (name.empty()) {
    throw Poco::InvalidAccessException("a file name must not be empty");
  }
  if (name.find('\0') != std::string::npos) {
    throw Poco::InvalidAccessException("a file name must not hold a zero byte");
  }
  const Poco::StringTokenizer components(name, "/");
  if (std::find(components.begin(), components.end(), "..") != components.end()) {
    throw Poco::InvalidAccessException("a file name must not lead upwards", name);
  }
}

[[noreturn]] void refuseDirectory(const std::string& name) {
  throw Poco::InvalidAccessException("a file name must not stand for a directory", name);
}

}  // namespace

FencedPath resolvePlaceInside(const std::string& directory, const std::string& name) {
  refuseBadName(name);
  const std::string path = directory + "/" + name;
  const std::size_t lastSlash = path.rfind('/');
  const std::string leaf = path.substr(lastSlash + 1);
  if (leaf.empty() || leaf == ".") {
    refuseDirectory(name);
  }

  const std::string fence = resolveLinks(directory);
  const std::string folder = resolveLinks(path.substr(0, lastSlash + 1));
  if (!isInside(fence, folder)) {
    throw Poco::InvalidAccessException("a file name must not leave its directory", name);
  }
  return {.folder = folder, .leaf = leaf};
}

FencedPath resolveInside(const std::string& directory, const std::string& name) {
  FencedPath place = resolvePlaceInside(directory, name);
  if (isDirectory(place.folder + "/" + place.leaf)) {
    refuseDirectory(name);
  }
  return place;
}

FencedFile::FencedFile(const std::string& directory, const std::string& name, mode_t permissions)
    : path_(directory + "/" + name), buffer_(kWriteBufferSize) {
  const FencedPath target = resolveInside(directory, name);
  const Descriptor folder(::open(target.folder.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!folder.isOpen()) {
    throw Poco::OpenFileException(withReason(target.folder, errno));
  }
  if (::unlinkat(folder.get(), target.leaf.c_str(), 0) != 0 && errno != ENOENT) {
    throw Poco::FileException(withReason(path_, errno));
  }
  // The last thing that can fail: nothing is left behind by a file that could not be made.
  file_.reset(
      ::openat(folder.get(), target.leaf.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, permissions));
  if (!file_.isOpen()) {
    throw Poco::CreateFileException(withReason(path_, errno));
  }
}

void FencedFile::write(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), buffer_.size() - buffered_);
    std::copy_n(bytes.begin(), count, buffer_.begin() + static_cast<std::ptrdiff_t>(buffered_));
    buffered_ += count;
    bytes = bytes.subspan(count);
    if (buffered_ == buffer_.size() && !flush()) {
      throw Poco::WriteFileException(withReason(path_, errno));
    }
  }
}

void FencedFile::close() {
  const bool flushed = flush();
  const int flushError = errno;
  const bool closed = ::close(file_.release()) == 0;
  if (!flushed || !closed) {
    throw Poco::WriteFileException(withReason(path_, flushed ? errno : flushError));
  }
}

// False, with errno set: not all of it could be written, and what was buffered is lost.
bool FencedFile::flush() {
  std::span<const std::byte> bytes = std::span(buffer_).first(std::exchange(buffered_, 0));
  while (!bytes.empty()) {
    const ssize_t count = retryInterrupted([&] { return ::write(file_.get(), bytes.data(), bytes.size()); });
    if (count <= 0) {
      return false;
    }
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace quendal
