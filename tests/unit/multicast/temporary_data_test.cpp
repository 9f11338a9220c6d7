#include "multicast/temporary_data.h"

#include "support/error_stream_capture.h"
#include "support/failing_unlink.h"
#include "support/packet_builder.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

namespace quendal {
namespace {

namespace fs = std::filesystem;

// Files of this process cannot grow beyond `bytes` from now on, as on a full disk.
void limitFileSize(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{bytes, bytes};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST(TemporaryData, IsWrittenWhole) {
  const TemporaryFolder folder;
  const std::string data("a\0b\n", 4);

  EXPECT_EQ(saveTemporaryData(folder.path() + "/file", asBytes(data)), TemporarySaving::kSaved);

  EXPECT_EQ(readFile(folder.path() + "/file"), data);
}

TEST(TemporaryData, NoBytesGiveAnEmptyFile) {
  const TemporaryFolder folder;

  EXPECT_EQ(saveTemporaryData(folder.path() + "/file", {}), TemporarySaving::kSaved);

  EXPECT_TRUE(fs::is_regular_file(folder.path() + "/file"));
}

TEST(TemporaryData, PlantedLinkIsReplacedAndNotFollowed) {
  const TemporaryFolder folder;
  const std::string victim = folder.writeFile("victim", "precious");
  const std::string path = folder.path() + "/file";
  for (const std::string& target : {victim, folder.path() + "/dangling"}) {
    fs::create_symlink(target, path);

    EXPECT_EQ(saveTemporaryData(path, asBytes("data")), TemporarySaving::kSaved);

    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path)));
    EXPECT_EQ(readFile(victim), "precious");
    EXPECT_FALSE(fs::exists(folder.path() + "/dangling"));
    fs::remove(path);
  }
}

TEST(TemporaryData, PlantedPipeIsReplacedAndBlocksNobody) {
  const TemporaryFolder folder;
  const std::string path = folder.path() + "/file";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);

  EXPECT_EQ(saveTemporaryData(path, asBytes("data")), TemporarySaving::kSaved);

  EXPECT_EQ(readFile(path), "data");
}

TEST(TemporaryData, PlantedDirectoryStaysAndIsAFailure) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path() + "/file");

  EXPECT_EQ(saveTemporaryData(folder.path() + "/file", asBytes("data")), TemporarySaving::kNotOpened);

  EXPECT_TRUE(fs::is_directory(folder.path() + "/file"));
}

TEST(TemporaryData, MissingFolderIsAFailure) {
  const TemporaryFolder folder;

  EXPECT_EQ(saveTemporaryData(folder.path() + "/missing/file", asBytes("data")), TemporarySaving::kNotOpened);
}

TEST(TemporaryData, HalfAFileIsRemovedAndAnotherFailure) {
  const TemporaryFolder folder;
  limitFileSize(100);

  EXPECT_EQ(saveTemporaryData(folder.path() + "/file", asBytes(std::string(101, 'x'))), TemporarySaving::kNotWritten);
  EXPECT_FALSE(fs::exists(folder.path() + "/file"));
  EXPECT_EQ(saveTemporaryData(folder.path() + "/file", asBytes(std::string(100, 'x'))), TemporarySaving::kSaved);
}

TEST(TemporaryDataRemover, RemovesWhatThePathSaysAtTheEnd) {
  const TemporaryFolder folder;
  std::string path;
  {
    const TemporaryDataRemover remover(path);
    path = folder.writeFile("file", "data");
  }

  EXPECT_EQ(path, "");
  EXPECT_FALSE(fs::exists(folder.path() + "/file"));
}

TEST(TemporaryDataRemover, MissingFileIsNoError) {
  const TemporaryFolder folder;
  const ErrorStreamCapture capture;
  std::string path = folder.path() + "/missing";
  { const TemporaryDataRemover remover(path); }

  EXPECT_EQ(path, "");
  EXPECT_EQ(capture.text(), "");
}

TEST(TemporaryDataRemover, RemovalThatFailsTwiceIsTriedOnceMoreAndLeavesNothing) {
  const TemporaryFolder folder;
  const ErrorStreamCapture capture;
  std::string path = folder.writeFile("file", "data");
  fake::failUnlink(2, EIO);
  { const TemporaryDataRemover remover(path); }

  EXPECT_FALSE(fs::exists(folder.path() + "/file"));
  EXPECT_EQ(capture.text(), "");
}

TEST(TemporaryDataRemover, RemovalThatFailsThreeTimesIsGivenUpAndReported) {
  const TemporaryFolder folder;
  const ErrorStreamCapture capture;
  const std::string file = folder.writeFile("file", "data");
  std::string path = file;
  fake::failUnlink(3, EIO);
  { const TemporaryDataRemover remover(path); }

  EXPECT_TRUE(fs::exists(file));
  EXPECT_EQ(capture.text(), "\ntemporary file not removed:" + file + ": Input/output error");
}

TEST(TemporaryDataRemover, WhatCannotBeRemovedStaysAndIsReported) {
  const TemporaryFolder folder;
  const ErrorStreamCapture capture;
  std::string path = folder.path();
  { const TemporaryDataRemover remover(path); }

  EXPECT_EQ(path, "");
  EXPECT_TRUE(fs::is_directory(folder.path()));
  EXPECT_EQ(capture.text(), "\ntemporary file not removed:" + folder.path() + ": Is a directory");
}

}  // namespace
}  // namespace quendal
