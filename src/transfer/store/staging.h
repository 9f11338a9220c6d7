// A transfer whose files are collected aside until its end puts them into place as one.
#pragma once

#include "transfer/store/write_back.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace quendal {

/// Between a list file and the stop marker. Used by one thread at a time.
class Staging {
 public:
  /// `writeBack` has the collected files written; it must outlive this.
  explicit Staging(WriteBack& writeBack) : writeBack_(writeBack) {}

  /// Begins to collect files for `target`; those of an unfinished transfer are thrown away.
  void begin(const std::string& target);

  bool isOpen() const { return isOpen_; }

  /// Where a file is to be written.
  struct Place {
    std::string folder;
    std::string name;
  };

  /// Where the file that is to become `name` is to be written. Throws as resolveInside, and
  /// Poco::InvalidAccessException for a name that cannot be renamed into place: see staging_folder.h.
  Place placeFor(const std::string& name);

  /// The file `name` has been written whole at the place last given. One of the same name, which came before,
  /// is replaced.
  void add(const std::string& name);

  /// Ends the transfer: puts its files, which have been written back, into place, and that is on the disk, too.
  /// Throws Poco::Exception as putStagedIntoPlace, and when the disk has reported an error since the beginning.
  void putIntoPlace();

  /// Ends the transfer and throws away what was collected; returns how many files that were.
  std::size_t discard();

 private:
  WriteBack& writeBack_;
  bool isOpen_ = false;
  std::string target_;
  unsigned failuresBefore_ = 0;
  std::uint32_t nextNumber_ = 0;
  std::map<std::string, std::uint32_t> files_;  // each name's number
};

}  // namespace quendal
