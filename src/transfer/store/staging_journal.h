// The journal of a staged transfer: which collected file belongs where. Pure functions of texts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quendal {

/// A file that has been collected under a number and belongs below the target directory under its name.
struct StagedFile {
  std::uint32_t number = 0;
  std::string name;

  bool operator==(const StagedFile&) const = default;
};

/// The journal of these files: a heading, "<number> <length of the name> <name>" for each, and an end line with
/// the CRC-32 of all before it, so that a journal that was cut off or damaged is no journal. A name may hold any
/// bytes, line breaks included.
std::string journalText(const std::vector<StagedFile>& files);

/// The files of a complete journal, in its order; nothing for any other text.
std::optional<std::vector<StagedFile>> parseJournal(std::string_view text);

}  // namespace quendal
