// A received file on disk.
#include "unit/base/fence_fixture.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

namespace quendal {
namespace {

using FencedFileTest = FenceFixture;

TEST_F(FencedFileTest, GetsItsPermissionsLessTheUmask) {
  umask(S_IWGRP | S_IWOTH);
  { const FencedFile plain(target, "plain"); }
  { const FencedFile own(target, "own", S_IRUSR | S_IWUSR); }

  EXPECT_EQ(fs::status(target + "/plain").permissions(), fs::perms(0644));
  EXPECT_EQ(fs::status(target + "/own").permissions(), fs::perms(0600));
}

TEST_F(FencedFileTest, StoresItsData) {
  receive("name", std::string("a\0b", 3));

  EXPECT_EQ(readFile(target + "/name"), std::string("a\0b", 3));
}

TEST_F(FencedFileTest, WithoutDataIsEmptyAndReplacesAnEarlierOne) {
  receive("name", "earlier");
  receive("name", "");

  EXPECT_TRUE(fs::is_regular_file(target + "/name"));
  EXPECT_EQ(fs::file_size(target + "/name"), 0U);
}

TEST_F(FencedFileTest, GathersManyWritesInOrder) {
  std::string expected;
  FencedFile file(target, "name");
  for (int chunk = 0; chunk < 200; ++chunk) {
    const std::string data(1000, static_cast<char>('a' + chunk % 26));
    file.write(std::as_bytes(std::span(data)));
    expected += data;
  }
  file.close();

  EXPECT_EQ(readFile(target + "/name"), expected);
}

TEST_F(FencedFileTest, WithoutCloseKeepsWhatHasCome) {
  { FencedFile(target, "name").write(std::as_bytes(std::span("part").first(4))); }

  EXPECT_EQ(readFile(target + "/name"), "part");
}

TEST_F(FencedFileTest, NameThatStandsForADirectoryIsRefusedAndTheDirectoryStays) {
  fs::create_directory(target + "/dir");
  folder.writeFile("outside/file", "safe");
  fs::create_directory_symlink(target + "/dir", target + "/link");

  for (const char* name : {"dir", "dir/", "dir/.", "link", ".", "", "/"}) {
    expectRefusedUntouched(name);
  }
}

TEST_F(FencedFileTest, LinkAtTheLeafIsReplacedAndNeverFollowed) {
  folder.writeFile("outside/file", "safe");
  fs::create_symlink(outside + "/file", target + "/link");
  fs::create_symlink(outside + "/missing", target + "/dangling");

  receive("link", "data");
  receive("dangling", "data");

  EXPECT_EQ(readFile(outside + "/file"), "safe");
  EXPECT_FALSE(fs::exists(outside + "/missing"));
  EXPECT_FALSE(fs::is_symlink(target + "/link"));
  EXPECT_EQ(readFile(target + "/link"), "data");
  EXPECT_EQ(readFile(target + "/dangling"), "data");
}

TEST_F(FencedFileTest, LinkToAFolderIsFollowedInsideAndRefusedOutside) {
  fs::create_directory(target + "/sub");
  fs::create_directory_symlink("sub", target + "/inside");
  fs::create_directory_symlink(outside, target + "/escape");

  receive("inside/name", "data");

  EXPECT_EQ(readFile(target + "/sub/name"), "data");
  expectRefusedUntouched("escape/name");
}

TEST_F(FencedFileTest, PipeAtTheLeafIsReplacedWithoutWaitingForAReader) {
  ASSERT_EQ(mkfifo((target + "/pipe").c_str(), S_IRUSR | S_IWUSR), 0);

  receive("pipe", "data");

  EXPECT_TRUE(fs::is_regular_file(target + "/pipe"));
  EXPECT_EQ(readFile(target + "/pipe"), "data");
}

TEST_F(FencedFileTest, OtherNamesOfAReplacedFileKeepTheirContent) {
  receive("name", "earlier");
  fs::create_hard_link(target + "/name", outside + "/kept");

  receive("name", "data");

  EXPECT_EQ(readFile(outside + "/kept"), "earlier");
}

TEST_F(FencedFileTest, NameTooLongForTheFileSystemIsAFailure) {
  EXPECT_THROW(receive(std::string(256, 'n'), "data"), Poco::FileException);
}

// A limit on the size of files stands in for the full disk: the write fails the same way.
class SizeLimit : public FencedFileTest {
 protected:
  SizeLimit() {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{kLimit, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~SizeLimit() override { setrlimit(RLIMIT_FSIZE, &before_); }

  static constexpr std::size_t kLimit = 4096;

 private:
  rlimit before_{};
};

TEST_F(SizeLimit, SmallFileFailsAtItsClose) {
  FencedFile file(target, "name");
  const std::string data(kLimit + 1, 'x');
  file.write(std::as_bytes(std::span(data)));

  EXPECT_THROW(file.close(), Poco::WriteFileException);
}

TEST_F(SizeLimit, BigFileFailsWhenItHappens) {
  FencedFile file(target, "name");
  const std::string chunk(1024, 'x');

  const auto writeMuch = [&] {
    for (int count = 0; count < 128; ++count) {
      file.write(std::as_bytes(std::span(chunk)));
    }
  };

  EXPECT_THROW(writeMuch(), Poco::WriteFileException);
}

}  // namespace
}  // namespace quendal
