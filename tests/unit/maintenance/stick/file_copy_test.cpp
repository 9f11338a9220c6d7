#include "maintenance/stick/file_copy.h"

#include "support/temporary_folder.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

namespace quendal {
namespace {

namespace fs = std::filesystem;

class StickFileCopy : public testing::Test {
 protected:
  std::string stickPath(const std::string& name) const { return stick_.path() + "/" + name; }
  std::string targetPath(const std::string& name) const { return target_.path() + "/" + name; }
  void writeStick(const std::string& name, const std::string& content) const { stick_.writeFile(name, content); }
  void writeTarget(const std::string& name, const std::string& content) const { target_.writeFile(name, content); }

  void copy(const std::string& name) const { copyStickFile(stick_.path(), target_.path(), name); }
  bool isAllowed(const std::string& name) const { return isCopyAllowed(stick_.path(), target_.path(), name); }

 private:
  TemporaryFolder stick_;
  TemporaryFolder target_;
};

// Files of this process may not grow beyond `bytes` while it lives: a write across it stops short and
// the next one fails, just as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{.rlim_cur = bytes, .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  FileSizeLimit(FileSizeLimit&&) = delete;
  FileSizeLimit& operator=(FileSizeLimit&&) = delete;

 private:
  rlimit before_{};
};

TEST_F(StickFileCopy, CopiesEveryByte) {
  std::string content;
  for (int i = 0; i < 300000; ++i) {
    content += static_cast<char>(i * 31 >> 3);
  }
  writeStick("x.zip", content);
  writeStick("empty", "");

  copy("x.zip");
  copy("empty");

  EXPECT_EQ(readFile(targetPath("x.zip")), content);
  EXPECT_EQ(readFile(targetPath("empty")), "");
  EXPECT_TRUE(fs::exists(targetPath("empty")));
}

TEST_F(StickFileCopy, KeepsThePermissionsLessTheUmask) {
  writeStick("run.sh", "x");
  writeStick("plain", "x");
  fs::permissions(stickPath("run.sh"), fs::perms{0777});
  fs::permissions(stickPath("plain"), fs::perms{0640});
  const mode_t before = umask(022);

  copy("run.sh");
  copy("plain");

  umask(before);
  EXPECT_EQ(fs::status(targetPath("run.sh")).permissions(), fs::perms{0755});
  EXPECT_EQ(fs::status(targetPath("plain")).permissions(), fs::perms{0640});
}

TEST_F(StickFileCopy, ExistingFileIsReplacedAlsoByAShorterOne) {
  writeStick("x.zip", "new");
  writeTarget("x.zip", "older and longer");

  copy("x.zip");

  EXPECT_EQ(readFile(targetPath("x.zip")), "new");
}

TEST_F(StickFileCopy, LinkInTheTargetIsReplacedAndNotFollowed) {
  writeStick("x.zip", "new");
  writeTarget("elsewhere", "kept");
  fs::create_symlink(targetPath("elsewhere"), targetPath("x.zip"));

  copy("x.zip");

  EXPECT_EQ(readFile(targetPath("elsewhere")), "kept");
  EXPECT_FALSE(fs::is_symlink(targetPath("x.zip")));
}

TEST_F(StickFileCopy, DirectoryInTheTargetIsAFailureAndNotCopiedInto) {
  writeStick("x.zip", "new");
  fs::create_directory(targetPath("x.zip"));

  EXPECT_TRUE(isAllowed("x.zip"));
  EXPECT_THROW(copy("x.zip"), Poco::Exception);

  EXPECT_TRUE(fs::is_empty(targetPath("x.zip")));
}

TEST_F(StickFileCopy, AbsentFileFailsAndLeavesTheOldOne) {
  writeTarget("x.zip", "old");

  EXPECT_TRUE(isAllowed("x.zip"));
  EXPECT_THROW(copy("x.zip"), Poco::FileNotFoundException);

  EXPECT_EQ(readFile(targetPath("x.zip")), "old");
}

TEST_F(StickFileCopy, NamesInExistingSubfoldersAreCopied) {
  writeStick("sub/x.zip", "new");
  fs::create_directory(targetPath("sub"));

  EXPECT_TRUE(isAllowed("sub/x.zip"));
  copy("sub/x.zip");

  EXPECT_EQ(readFile(targetPath("sub/x.zip")), "new");
}

TEST_F(StickFileCopy, SubfolderThatTheTargetDoesNotHaveIsAFailureOfTheCopy) {
  writeStick("sub/x.zip", "new");

  EXPECT_TRUE(isAllowed("sub/x.zip"));
  EXPECT_THROW(copy("sub/x.zip"), Poco::FileNotFoundException);
}

TEST_F(StickFileCopy, FullTargetLeavesNoPiece) {
  writeStick("x.zip", std::string(200000, 'x'));
  const FileSizeLimit limit(100000);

  EXPECT_THROW(copy("x.zip"), Poco::WriteFileException);

  EXPECT_FALSE(fs::exists(targetPath("x.zip")));
}

TEST_F(StickFileCopy, NamesThatLeadOutAreRefused) {
  writeStick("x.zip", "x");
  fs::create_directory(stickPath("folder"));
  for (const char* name :
       {"", ".", "..", "../x.zip", "folder/../../x.zip", "folder/../x.zip", "x.zip/", "folder/", "folder", "/", "/."}) {
    EXPECT_FALSE(isAllowed(name)) << name;
  }
  EXPECT_FALSE(isAllowed(std::string("x.zip\0y", 7)));
}

TEST_F(StickFileCopy, NameThatBeginsWithASlashStaysInside) {
  writeStick("etc/passwd", "harmless");
  fs::create_directory(targetPath("etc"));

  EXPECT_TRUE(isAllowed("/etc/passwd"));
  copy("/etc/passwd");

  EXPECT_EQ(readFile(targetPath("etc/passwd")), "harmless");
}

TEST_F(StickFileCopy, FoldersThatAreLinksOutAreRefusedOnBothSides) {
  const TemporaryFolder outside;
  outside.writeFile("x.zip", "outside");
  fs::create_directory_symlink(outside.path(), stickPath("out"));
  fs::create_directory(targetPath("out"));
  writeStick("in/x.zip", "inside");
  fs::create_directory_symlink(outside.path(), targetPath("in"));

  EXPECT_FALSE(isAllowed("out/x.zip"));
  EXPECT_FALSE(isAllowed("in/x.zip"));
}

TEST_F(StickFileCopy, LinkOnTheStickIsNeitherAllowedNorRead) {
  const TemporaryFolder outside;
  outside.writeFile("secret", "outside");
  fs::create_symlink(outside.path() + "/secret", stickPath("x.zip"));

  EXPECT_FALSE(isAllowed("x.zip"));
  EXPECT_THROW(copy("x.zip"), Poco::FileException);
  EXPECT_FALSE(fs::exists(targetPath("x.zip")));
}

}  // namespace
}  // namespace quendal
