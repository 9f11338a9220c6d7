#include "transfer/store/staging_folder.h"

#include "base/console.h"
#include "base/descriptor.h"
#include "base/fenced_file.h"
#include "base/plain_file.h"
#include "base/text.h"

#include <Poco/Exception.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <limits>
#include <set>
#include <system_error>

namespace quendal {
namespace {

constexpr const char* kJournal = "journal";
constexpr const char* kNewJournal = "journal.new";
constexpr mode_t kOwnerOnly = 0700;
constexpr mode_t kJournalMode = 0600;

std::string pathOf(const std::string& target) {
  return target + "/" + kStagingFolder;
}

int openStagingFolder(const std::string& target) {
  return ::open(pathOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool isSameFile(const std::string& one, const std::string& other) {
  std::error_code none;
  return std::filesystem::equivalent(one, other, none);
}

// The number of the mount that leads to `path`: two mounts of one file system differ, and no file can be renamed
// from one to the other. Before Linux 5.8, which does not tell it, the file system's.
std::uint64_t mountOf(const std::string& path) {
  struct statx status {};
  if (::statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &status) != 0) {
    throw Poco::FileException(withReason(path, errno));
  }
  const bool isTold = (status.stx_mask & STATX_MNT_ID) != 0;
  return isTold ? status.stx_mnt_id : makedev(status.stx_dev_major, status.stx_dev_minor);
}

void sync(int descriptor, const std::string& path) {
  if (::fsync(descriptor) != 0) {
    throw Poco::WriteFileException(withReason(path, errno));
  }
}

void syncFolder(const std::string& path) {
  const Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  sync(folder.get(), path);
}

bool isCollected(int stagingFolder, std::uint32_t number) {
  struct stat status {};
  return ::fstatat(stagingFolder, std::to_string(number).c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

// What can be known before the first rename is known before it.
void check(int stagingFolder, const std::string& target, const std::vector<StagedFile>& files) {
  for (const StagedFile& file : files) {
    resolveInside(target, file.name);
    if (!isCollected(stagingFolder, file.number)) {
      throw Poco::FileNotFoundException("the collected file is gone", file.name);
    }
  }
}

// Whole and on the disk before it has its name, so that there is a complete journal or none.
void writeJournal(int stagingFolder, const std::string& target, const std::vector<StagedFile>& files) {
  const std::string path = pathOf(target) + "/" + kNewJournal;
  const Descriptor journal(
      ::openat(stagingFolder, kNewJournal, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kJournalMode));
  if (journal.get() < 0) {
    throw Poco::CreateFileException(withReason(path, errno));
  }
  const std::string text = journalText(files);
  for (std::string_view rest = text; !rest.empty();) {
    const ssize_t written = ::write(journal.get(), rest.data(), rest.size());
    if (written < 0) {
      throw Poco::WriteFileException(withReason(path, errno));
    }
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
  sync(journal.get(), path);
  if (::renameat(stagingFolder, kNewJournal, stagingFolder, kJournal) != 0) {
    throw Poco::FileException(withReason(path, errno));
  }
  sync(stagingFolder, pathOf(target));
}

// Renames one file into place, through the fence, unless that has been done already; returns its place's folder.
std::string placeFile(int stagingFolder, const std::string& target, const StagedFile& file) {
  const FencedPath place = resolveInside(target, file.name);
  const Descriptor folder(::open(place.folder.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (isCollected(stagingFolder, file.number) &&
      ::renameat(stagingFolder, std::to_string(file.number).c_str(), folder.get(), place.leaf.c_str()) != 0) {
    throw Poco::FileException(withReason(target + "/" + file.name, errno));
  }
  return place.folder;
}

// One file that is refused does not keep the others from their places: it is thrown at the end. The files'
// contents are on the disk, and what is left to write are the folders, also those of files that an earlier
// attempt has renamed.
void placeFiles(int stagingFolder, const std::string& target, const std::vector<StagedFile>& files) {
  std::set<std::string> folders;
  std::exception_ptr refused;
  for (const StagedFile& file : files) {
    try {
      folders.insert(placeFile(stagingFolder, target, file));
    } catch (const std::exception&) {
      refused = refused ? refused : std::current_exception();
    }
  }
  for (const std::string& folder : folders) {
    syncFolder(folder);
  }
  if (refused) {
    std::rethrow_exception(refused);
  }
}

// Empty where there is none. One that is there and cannot be opened or read throws.
std::string readJournal(const std::string& target) {
  try {
    return readPlainFile(pathOf(target) + "/" + kJournal, std::numeric_limits<std::size_t>::max());
  } catch (const Poco::FileNotFoundException&) {
    return {};
  }
}

void finish(int stagingFolder, const std::string& target, const std::string& journal) {
  const std::optional<std::vector<StagedFile>> files = parseJournal(journal);
  if (!files) {
    console::line("A transfer that had not ended has been thrown away");
    return;
  }
  try {
    placeFiles(stagingFolder, target, *files);
    console::line("A transfer of " + std::to_string(files->size()) + " staged files has been finished");
  } catch (const Poco::Exception& failure) {
    console::failure("Staged files: Exception Met!", failure);
  }
}

}  // namespace

void refuseStagingName(const std::string& target, const std::string& name) {
  const FencedPath place = resolveInside(target, name);
  if (asciiLowerCase(place.leaf) == kStagingFolder || isSameFile(place.folder, pathOf(target))) {
    throw Poco::InvalidAccessException("a file name must not lead into the folder of staged files", name);
  }
}

void refuseOtherMount(const std::string& target, const std::string& name) {
  if (mountOf(resolveInside(target, name).folder) != mountOf(pathOf(target))) {
    throw Poco::InvalidAccessException("a staged file's folder must be on the target directory's file system", name);
  }
}

void createStagingFolder(const std::string& target) {
  if (::mkdir(pathOf(target).c_str(), kOwnerOnly) != 0 && errno != EEXIST) {
    throw Poco::CreateFileException(withReason(pathOf(target), errno));
  }
}

void putStagedIntoPlace(const std::string& target, const std::vector<StagedFile>& files) {
  const Descriptor stagingFolder(openStagingFolder(target));
  if (stagingFolder.get() < 0) {
    throw Poco::OpenFileException(withReason(pathOf(target), errno));
  }
  check(stagingFolder.get(), target, files);
  writeJournal(stagingFolder.get(), target, files);
  placeFiles(stagingFolder.get(), target, files);
}

// A journal that came back behind a power cut would put old files over newer ones.
void removeStagingFolder(const std::string& target) {
  {
    const Descriptor stagingFolder(openStagingFolder(target));
    if (stagingFolder.get() >= 0 && ::unlinkat(stagingFolder.get(), kJournal, 0) == 0) {
      ::fsync(stagingFolder.get());
    }
  }
  std::error_code ignored;
  std::filesystem::remove_all(pathOf(target), ignored);
}

void recoverStaging(const std::string& target) {
  const Descriptor stagingFolder(openStagingFolder(target));
  if (stagingFolder.get() < 0) {
    return;
  }
  try {
    finish(stagingFolder.get(), target, readJournal(target));
  } catch (const std::exception& failure) {
    console::failure("Staged files: Exception Met!", failure);
    return;  // the journal may be readable at the next start
  }
  removeStagingFolder(target);
}

}  // namespace quendal
