#include "transfer/received_file.h"

#include "support/packet_builder.h"
#include "support/temporary_folder.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace quendal {
namespace {

namespace fs = std::filesystem;

// A target directory with a folder beside it, which no name may reach.
class ReceivedFileTest : public testing::Test {
 protected:
  ReceivedFileTest() {
    fs::create_directory(target);
    fs::create_directory(outside);
  }

  void receive(const std::string& name, const std::string& data) const {
    ReceivedFile file(target, name);
    file.write(asBytes(data));
    file.close();
  }

  // Everything below the target and beside it, with the content of the files.
  std::string treeText() const {
    std::string text;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      text += entry.path().string() + (entry.is_regular_file() ? "=" + readFile(entry.path()) : "") + "\n";
    }
    return text;
  }

  void expectRefusedUntouched(const std::string& name) const {
    const std::string before = treeText();
    EXPECT_THROW(receive(name, "data"), Poco::Exception) << name;
    EXPECT_EQ(treeText(), before) << name;
  }

  TemporaryFolder folder;
  std::string target = folder.path() + "/target";
  std::string outside = folder.path() + "/outside";
};

using FencedPathTest = ReceivedFileTest;

TEST_F(FencedPathTest, IsTheFolderAndTheLeaf) {
  fs::create_directory(target + "/sub");

  EXPECT_EQ(resolveInside(target, "name").folder, target);
  EXPECT_EQ(resolveInside(target, "name").leaf, "name");
  EXPECT_EQ(resolveInside(target, "sub/name").folder, target + "/sub");
  EXPECT_EQ(resolveInside(target, "./sub/./name").folder, target + "/sub");
  EXPECT_EQ(resolveInside(target + "/", "/name").folder, target);
  EXPECT_EQ(resolveInside("/", folder.path().substr(1) + "/name").folder, folder.path());
}

TEST_F(FencedPathTest, RefusesNamesThatAreNoFileName) {
  const std::string zero("a\0b", 3);
  for (const std::string& name : {std::string(), std::string("."), std::string("./"), std::string("/"), zero,
                                  std::string("\0", 1), std::string("a/."), std::string("a/")}) {
    EXPECT_THROW(resolveInside(target, name), Poco::Exception) << name;
  }
}

TEST_F(FencedPathTest, RefusesEveryNameWithAnUpwardComponentEvenInside) {
  fs::create_directory(target + "/sub");

  for (const char* name : {"..", "../", "../x", "sub/../x", "sub/..", "./../x", "/../x", "sub//..//x"}) {
    EXPECT_THROW(resolveInside(target, name), Poco::InvalidAccessException) << name;
  }
  EXPECT_EQ(resolveInside(target, "..x").leaf, "..x");
  EXPECT_EQ(resolveInside(target, "...").leaf, "...");
  EXPECT_EQ(resolveInside(target, "x..").leaf, "x..");
}

TEST_F(FencedPathTest, SaysWhyANameIsRefused) {
  const auto reason = [&](const std::string& name) -> std::string {
    try {
      resolveInside(target, name);
    } catch (const Poco::InvalidAccessException& failure) {
      return failure.message();
    }
    return "none";
  };

  EXPECT_EQ(reason(""), "a file name must not be empty");
  EXPECT_EQ(reason(std::string("a\0", 2)), "a file name must not hold a zero byte");
  EXPECT_EQ(reason("../x"), "a file name must not lead upwards: ../x");
  EXPECT_EQ(reason("./"), "a file name must not stand for a directory: ./");
}

TEST_F(FencedPathTest, MissingFolderIsNotFound) {
  EXPECT_THROW(resolveInside(target, "missing/name"), Poco::FileNotFoundException);
  EXPECT_THROW(resolveInside(target, "/etc/passwd"), Poco::FileNotFoundException) << "it is taken below the target";
  EXPECT_THROW(resolveInside(folder.path() + "/missing", "name"), Poco::FileNotFoundException);
}

TEST_F(FencedPathTest, FolderWithTheTargetsNameAsPrefixIsOutside) {
  fs::create_directory(target + "2");
  fs::create_directory_symlink(target + "2", target + "/link");

  EXPECT_THROW(resolveInside(target, "link/name"), Poco::InvalidAccessException);
}

TEST_F(FencedPathTest, TargetMayItselfBeReachedThroughALink) {
  fs::create_directory_symlink(target, folder.path() + "/link");

  EXPECT_EQ(resolveInside(folder.path() + "/link", "name").folder, target);
}

TEST_F(ReceivedFileTest, StoresItsData) {
  receive("name", std::string("a\0b", 3));

  EXPECT_EQ(readFile(target + "/name"), std::string("a\0b", 3));
}

TEST_F(ReceivedFileTest, WithoutDataIsEmptyAndReplacesAnEarlierOne) {
  receive("name", "earlier");
  receive("name", "");

  EXPECT_TRUE(fs::is_regular_file(target + "/name"));
  EXPECT_EQ(fs::file_size(target + "/name"), 0U);
}

TEST_F(ReceivedFileTest, GathersManyWritesInOrder) {
  std::string expected;
  ReceivedFile file(target, "name");
  for (int chunk = 0; chunk < 200; ++chunk) {
    const std::string data(1000, static_cast<char>('a' + chunk % 26));
    file.write(asBytes(data));
    expected += data;
  }
  file.close();

  EXPECT_EQ(readFile(target + "/name"), expected);
}

TEST_F(ReceivedFileTest, WithoutCloseKeepsWhatHasCome) {
  { ReceivedFile(target, "name").write(asBytes("part")); }

  EXPECT_EQ(readFile(target + "/name"), "part");
}

TEST_F(ReceivedFileTest, NameThatStandsForADirectoryIsRefusedAndTheDirectoryStays) {
  fs::create_directory(target + "/dir");
  folder.writeFile("outside/file", "safe");
  fs::create_directory_symlink(target + "/dir", target + "/link");

  for (const char* name : {"dir", "dir/", "dir/.", "link", ".", "", "/"}) {
    expectRefusedUntouched(name);
  }
}

TEST_F(ReceivedFileTest, LinkAtTheLeafIsReplacedAndNeverFollowed) {
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

TEST_F(ReceivedFileTest, LinkToAFolderIsFollowedInsideAndRefusedOutside) {
  fs::create_directory(target + "/sub");
  fs::create_directory_symlink("sub", target + "/inside");
  fs::create_directory_symlink(outside, target + "/escape");

  receive("inside/name", "data");

  EXPECT_EQ(readFile(target + "/sub/name"), "data");
  expectRefusedUntouched("escape/name");
}

TEST_F(ReceivedFileTest, PipeAtTheLeafIsReplacedWithoutWaitingForAReader) {
  ASSERT_EQ(mkfifo((target + "/pipe").c_str(), S_IRUSR | S_IWUSR), 0);

  receive("pipe", "data");

  EXPECT_TRUE(fs::is_regular_file(target + "/pipe"));
  EXPECT_EQ(readFile(target + "/pipe"), "data");
}

TEST_F(ReceivedFileTest, OtherNamesOfAReplacedFileKeepTheirContent) {
  receive("name", "earlier");
  fs::create_hard_link(target + "/name", outside + "/kept");

  receive("name", "data");

  EXPECT_EQ(readFile(outside + "/kept"), "earlier");
}

TEST_F(ReceivedFileTest, NameTooLongForTheFileSystemIsAFailure) {
  EXPECT_THROW(receive(std::string(256, 'n'), "data"), Poco::FileException);
}

// A limit on the size of files stands in for the full disk: the write fails the same way.
class SizeLimit : public ReceivedFileTest {
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
  ReceivedFile file(target, "name");
  file.write(asBytes(std::string(kLimit + 1, 'x')));

  EXPECT_THROW(file.close(), Poco::WriteFileException);
}

TEST_F(SizeLimit, BigFileFailsWhenItHappens) {
  ReceivedFile file(target, "name");
  const std::string chunk(1024, 'x');

  const auto writeMuch = [&] {
    for (int count = 0; count < 128; ++count) {
      file.write(asBytes(chunk));
    }
  };

  EXPECT_THROW(writeMuch(), Poco::WriteFileException);
}

}  // namespace
}  // namespace quendal
