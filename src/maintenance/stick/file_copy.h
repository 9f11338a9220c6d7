// Copying one file from the stick into the target directory.
#pragma once

#include <string>

namespace quendal {

/// May a file of this name be copied from `folder` into `directory`? Both are fences (see
/// resolveInside), and a file that is a symbolic link in `folder` is refused wherever it leads. A place
/// that does not exist is no reason to say no: that shows when copying.
bool isCopyAllowed(const std::string& folder, const std::string& directory, const std::string& name);

/// Copies the file `name` of `folder` to the same name in `directory`, with its permissions. A file
/// that stands there is replaced, a directory is not.
///
/// Throws Poco::Exception when either side fails. The file in `directory` is not touched unless the
/// one in `folder` could be opened; a piece of a copy is removed.
void copyStickFile(const std::string& folder, const std::string& directory, const std::string& name);

}  // namespace quendal
