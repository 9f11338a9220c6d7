// Which folder of the stick fits this display best. Pure.
//
// A folder is named after the displays it is meant for: group, column and unit number with "." between
// them, where 0 fits any.
#pragma once

#include "base/display_identity.h"

#include <optional>
#include <string>
#include <vector>

namespace quendal {

/// The numbers in a folder's name, split at its dots, or nothing unless there are exactly three parts.
/// A part is read as far as it is a decimal number, so that one which is none, or is empty, reads as 0;
/// of a number that is too great the low 16 bits count.
std::optional<DisplayIdentity> parseFolderName(const std::vector<std::string>& parts);

/// How well `folder` fits the display `own`, or nothing when it does not fit: 100 for the same group,
/// 10 for the same column and 1 for the same unit, added up.
std::optional<int> folderWeight(const DisplayIdentity& folder, const DisplayIdentity& own);

/// The best folder so far.
struct FolderChoice {
  std::string name;
  int weight = -1;
};

/// Looks at the entry `name` and makes it the best when it fits better than the best so far; of equal
/// ones the first stays. Returns the report of all that.
std::string considerFolder(const std::string& name, const DisplayIdentity& own, FolderChoice& best);

}  // namespace quendal
