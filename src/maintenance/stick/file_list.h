// The list of files in a configuration folder. Pure.
//
// The list is entries separated by ";", each "<any text>#0#<file name>".
#pragma once

#include <Poco/DateTime.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace quendal {

/// How the display application is told of the files, by the control file among them.
enum class Announcement {
  kNone,
  kNormal,    // "FileList.sys"
  kDontCare,  // "FLDnCare.sys"
};

struct FileList {
  std::vector<std::string> names;  // in the order of the entries; never empty
  Announcement announcement = Announcement::kNone;

  bool operator==(const FileList&) const = default;
};

/// `value` without the ";" at its two ends.
std::string trimFileList(const std::string& value);

/// The files of a trimmed list, or nothing when any of its entries is not of the form above, the empty
/// one included. Of several control files the last entry decides, and within one name "FileList.sys".
std::optional<FileList> parseFileList(const std::string& value);

/// The report of a trimmed list before it is checked.
std::string fileListReport(const std::string& value);

/// The report of file `index` (from 1) of `count` before it is copied, at `time` (UTC).
std::string copyReport(const Poco::DateTime& time, std::size_t index, std::size_t count, const std::string& name);

}  // namespace quendal
