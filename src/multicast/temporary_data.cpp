#include "multicast/temporary_data.h"

#include "base/console.h"
#include "base/fenced_file.h"
#include "base/interrupted_call.h"
#include "base/text.h"

#include <Poco/Exception.h>
#include <Poco/Path.h>

#include <unistd.h>

#include <cerrno>

namespace quendal {

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
  if (retryInterrupted([this] { return ::unlink(path_.c_str()); }) != 0 && errno != ENOENT) {
    console::line("temporary file not removed:" + withReason(path_, errno));
  }
  path_.clear();
}

}  // namespace quendal
