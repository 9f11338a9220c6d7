// The hidden folder in which a transfer's files are collected, and how they get from there into place.
#pragma once

#include "transfer/store/staging_journal.h"

#include <string>
#include <vector>

namespace quendal {

/// Below the target directory, and so on its file system. No received name may lead into it.
inline constexpr const char* kStagingFolder = ".quendal-staged";

/// Throws Poco::InvalidAccessException for a name below `target` that would be, or lie in, the staging folder,
/// and throws as resolveInside. Changes nothing.
void refuseStagingName(const std::string& target, const std::string& name);

/// Throws Poco::InvalidAccessException unless `name`, whose folder exists, can be renamed into place: its folder
/// must be reached over the same mount as the staging folder, which exists.
void refuseOtherMount(const std::string& target, const std::string& name);

/// Creates the folder unless it is there. Throws Poco::CreateFileException.
void createStagingFolder(const std::string& target);

/// Puts the collected files, which are on the disk, into place below `target`, as one: from the moment that the
/// journal is written on, a power cut is made good by recoverStaging. All of it is on the disk at the end.
///
/// Throws Poco::Exception. What can be checked is checked before anything is changed; when the system refuses a
/// rename all the same, the other files are in place.
void putStagedIntoPlace(const std::string& target, const std::vector<StagedFile>& files);

/// Removes the folder and all that is in it, the journal first and for good. Errors are ignored: what stays is
/// removed by the next one.
void removeStagingFolder(const std::string& target);

/// At the start, before anything is received: finishes a transfer whose journal is complete, throws any other
/// away, and says so in a line. Never throws.
void recoverStaging(const std::string& target);

}  // namespace quendal
