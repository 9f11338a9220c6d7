#include "multicast/temporary_data.h"

#include "base/fenced_file.h"

#include <Poco/Exception.h>
#include <Poco/Path.h>

#include <unistd.h>

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
  if (!path_.empty()) {
    ::unlink(path_.c_str());
    path_.clear();
  }
}

}  // namespace quendal
