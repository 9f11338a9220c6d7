#include "multicast/temporary_data.h"

#include "base/console.h"
#include "base/fenced_file.h"
#include "base/interrupted_call.h"
#include "base/text.h"

#include <Poco/Exception.h>
#include <Poco/Path.h>

#include <unistd.h>

#include <cerrno>
#include <new>

namespace quendal {

namespace {

// A worn card fails now and then, and nobody comes by later: the name is known to this process only.
constexpr int kRemovalAttempts = 3;

// The error's number; none when the file is gone.
int removeFile(const std::string& path) {
  const int result = retryInterrupted([&] { return ::unlink(path.c_str()); });
  return result == 0 || errno == ENOENT ? 0 : errno;
}

void reportNotRemoved(const std::string& path, int error) noexcept {
  try {
    console::line("temporary file not removed:" + withReason(path, error));
  } catch (const std::bad_alloc&) {
    console::line("temporary file not removed");
  }
}

}  // namespace

TemporarySaving saveTemporaryData(const std::string& path, std::span<const std::byte> data) {
  std::string unfinished;
  const TemporaryDataRemover remover(unfinished);
  try {
    const Poco::Path target(path);
    FencedFile file(target.parent().toString(), target.getFileName());
    unfinished = path;
    file.write(data);
    file.close();
    unfinished.clear();
    return TemporarySaving::kSaved;
  } catch (const Poco::WriteFileException&) {
    return TemporarySaving::kNotWritten;
  } catch (const Poco::Exception&) {
    return TemporarySaving::kNotOpened;
  }
}

TemporaryDataRemover::~TemporaryDataRemover() {
  if (path_.empty()) {
    return;
  }
  int error = removeFile(path_);
  for (int attempt = 1; attempt < kRemovalAttempts && error != 0; ++attempt) {
    error = removeFile(path_);
  }
  if (error != 0) {
    reportNotRemoved(path_, error);
  }
  path_.clear();
}

}  // namespace quendal
