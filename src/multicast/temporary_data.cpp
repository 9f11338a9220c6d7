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

bool saveTemporaryData(const std::string& path, std::span<const std::byte> data) {
  std::string unfinished;
  const TemporaryDataRemover remover(unfinished);
  try {
    const Poco::Path target(path);
    FencedFile file(target.parent().toString(), target.getFileName());
    unfinished = path;
    file.write(data);
    file.close();
    unfinished.clear();
    return true;
  } catch (const Poco::Exception&) {
    return false;
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
