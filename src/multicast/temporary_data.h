// Short-lived files in the system's temporary directory, which other programs can write to as well.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace quendal {

/// What saving has come to. Unless kSaved, nothing of ours is left at the path.
enum class TemporarySaving {
  kSaved,
  kNotOpened,   // the file could not be created
  kNotWritten,  // it could, but not hold all of the data
};

/// Writes `data` to a new file at `path`. Whatever stands there is removed first: the names of temporary
/// files can be guessed, and a link planted under one must not lead the data elsewhere.
TemporarySaving saveTemporaryData(const std::string& path, std::span<const std::byte> data);

/// Takes a temporary file away at the end of the scope, whatever happens in it; tries three times, and says so if it
/// cannot.
class TemporaryDataRemover {
 public:
  /// `path` is looked at only then: it may be empty and filled later, and is emptied.
  explicit TemporaryDataRemover(std::string& path) : path_(path) {}
  ~TemporaryDataRemover();
  TemporaryDataRemover(const TemporaryDataRemover&) = delete;
  TemporaryDataRemover& operator=(const TemporaryDataRemover&) = delete;
  TemporaryDataRemover(TemporaryDataRemover&&) = delete;
  TemporaryDataRemover& operator=(TemporaryDataRemover&&) = delete;

 private:
  std::string& path_;
};

}  // namespace quendal
