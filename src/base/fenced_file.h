// A file on disk under a name from outside: created inside its directory and nowhere else, every error seen.
#pragma once

#include "base/descriptor.h"

#include <sys/types.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace quendal {

/// Where a name from outside leads: a folder that lies inside the fence (symbolic links resolved) and
/// the file's own name in it.
struct FencedPath {
  std::string folder;
  std::string leaf;
};

/// Resolves `name` below `directory`, which is a fence: no name and no symbolic link below it leads a
/// file out of it. `name` may hold "/" as long as it stays inside.
///
/// Throws Poco::InvalidAccessException, saying why, for an empty name, a ".." component, an embedded
/// zero byte, a name that stands for a directory, and a folder outside the fence;
/// Poco::FileNotFoundException when the folder (or `directory`) does not exist. Changes nothing.
FencedPath resolveInside(const std::string& directory, const std::string& name);

/// The fence alone: as resolveInside, except that a directory which stands at the name's place is not
/// refused (a name that can only mean one, such as "sub/", is).
FencedPath resolvePlaceInside(const std::string& directory, const std::string& name);

/// One file being written. Not copyable; used on one thread.
class FencedFile {
 public:
  /// Removes what stands under `name` (a symbolic link itself, never what it points to) and creates
  /// the file anew. Throws as resolveInside before anything is touched, and Poco::FileException when
  /// the file cannot be removed or created. The file gets `permissions` less the umask.
  FencedFile(const std::string& directory, const std::string& name, mode_t permissions = kPlainFile);

  /// Appends `bytes`. Throws Poco::WriteFileException when the disk is full or fails.
  void write(std::span<const std::byte> bytes);

  /// The open file, for questions about it.
  int descriptor() const { return file_.get(); }

  /// Writes out what is buffered and closes the file; throws as write. Without it the destructor
  /// does so and errors are lost.
  void close();

  ~FencedFile() { flush(); }
  FencedFile(const FencedFile&) = delete;
  FencedFile& operator=(const FencedFile&) = delete;
  FencedFile(FencedFile&&) = delete;
  FencedFile& operator=(FencedFile&&) = delete;

 private:
  static constexpr mode_t kPlainFile = 0666;

  bool flush();

  std::string path_;
  std::vector<std::byte> buffer_;
  std::size_t buffered_ = 0;  // bytes at the front of buffer_ that are not written yet
  Descriptor file_;
};

}  // namespace quendal
