// Where a name from outside may lead.
#include "unit/base/fence_fixture.h"

namespace quendal {
namespace {

using FencedPathTest = FenceFixture;

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

TEST_F(FencedPathTest, PlaceAloneMayHoldADirectoryButNotLeaveTheFence) {
  fs::create_directory(target + "/sub");
  fs::create_directory_symlink(outside, target + "/escape");

  EXPECT_EQ(resolvePlaceInside(target, "sub").leaf, "sub");
  for (const char* name : {"", "sub/", ".", "../x", "escape/x"}) {
    EXPECT_THROW(resolvePlaceInside(target, name), Poco::InvalidAccessException) << name;
  }
}

}  // namespace
}  // namespace quendal
