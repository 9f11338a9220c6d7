#include "base/ini_file.h"

#include "support/failing_read.h"
#include "support/temporary_folder.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

namespace quendal {
namespace {

std::string valueIn(const std::string& text, const std::string& key) {
  return parseIniText(text, "test")->getString(key);
}

// What is said of the file at `path`.
std::string refusalOf(const std::string& path) {
  try {
    loadIniFile(path);
    return "none";
  } catch (const Poco::Exception& refusal) {
    return refusal.displayText();
  }
}

TEST(IniText, HoldsValuesBySectionAndKey) {
  EXPECT_EQ(valueIn("a = 1\r\n[s]\r\nb=two words \r\n", "s.b"), "two words");
  EXPECT_EQ(valueIn("a = 1\r\n[s]\r\nb=two words \r\n", "A"), "1");
  EXPECT_EQ(parseIniText("[s]\nn=0x1F90\n", "test")->getInt("s.n"), 8080);
}

// docs/configuration.md promises each of these.
TEST(IniText, PeculiaritiesOfTheParserStay) {
  EXPECT_EQ(valueIn("; comment\n# comment\na=1 ; not one\n", "a"), "1 ; not one");
  EXPECT_EQ(valueIn("a=1\na=2\n", "a"), "2");
  EXPECT_FALSE(parseIniText("\xEF\xBB\xBF[s]\na=1\n", "test")->hasProperty("s.a"));
  EXPECT_EQ(valueIn("a=${b}-${B}-${none}\nb=1\n", "a"), "1-1-${none}");
  EXPECT_EQ(valueIn("[pc]\nip=10.0.0.9\n[s]\nip=${pc.ip}\n", "s.ip"), "10.0.0.9");
}

TEST(IniText, GarbageHoldsNothing) {
  for (const char* text : {"", "[", "[s", "=", "\xFF\xFE\x01[[[", "a=1"}) {
    EXPECT_FALSE(parseIniText(text, "test")->hasProperty("s.a")) << text;
  }
}

TEST(IniText, ReferenceToItselfThrows) {
  EXPECT_THROW(valueIn("a=${a}\n", "a"), Poco::CircularReferenceException);
  EXPECT_THROW(valueIn("a=${b}\nb=${a}\n", "a"), Poco::CircularReferenceException);
}

// Ten levels, as deep as the library follows, of `width` references each.
std::string multiplying(int width) {
  std::string text;
  for (int level = 0; level < 9; ++level) {
    text += "v" + std::to_string(level) + "=";
    for (int reference = 0; reference < width; ++reference) {
      text += "${v" + std::to_string(level + 1) + "}";
    }
    text += "\n";
  }
  return text + "v9=x\n";
}

TEST(IniText, ReferencesThatMultiplyToMoreThanThereIsThrow) {
  EXPECT_EQ(valueIn(multiplying(2), "v0"), std::string(512, 'x'));
  try {
    valueIn(multiplying(8), "v0");
    FAIL() << "nobody has so much memory";
  } catch (const Poco::DataFormatException& refusal) {
    EXPECT_EQ(refusal.displayText(), "Bad data format: test: its references lead to too much text");
  }
}

TEST(IniText, BigValuesMayBeAskedForAFewTimes) {
  const std::string value(kMaxIniFileSize - 3, 'x');
  const IniFile ini = parseIniText("a=" + value + "\n", "test");

  EXPECT_TRUE(ini->hasProperty("a"));
  EXPECT_EQ(ini->getString("a"), value);
  EXPECT_EQ(ini->getString("a"), value);
}

TEST(IniText, SectionNameThatMultipliesWithItsKeysIsRefused) {
  std::string text = "[" + std::string(kMaxIniFileSize / 2, 's') + "]\n";
  for (int key = 0; key < 100; ++key) {
    text += std::to_string(key) + "\n";
  }

  EXPECT_THROW(parseIniText(text, "test"), Poco::DataFormatException);
}

TEST(IniText, ThousandsOfOrdinaryLinesAreNoBurden) {
  std::string text = "[section]\n";
  while (text.size() < kMaxIniFileSize / 2) {
    text += "key" + std::to_string(text.size()) + " = value\n";
  }

  EXPECT_EQ(valueIn(text + "last = 1\n", "section.last"), "1");
}

class IniFileTest : public testing::Test {
 protected:
  ~IniFileTest() override { fake::failRead(-1, 0); }

  TemporaryFolder folder;
  std::string path = folder.writeFile("file.ini", "a=1\nb=" + std::string(20000, 'b') + "\nc=3\n");
};

TEST_F(IniFileTest, IsReadFromItsPath) {
  EXPECT_EQ(loadIniFile(path)->getString("c"), "3");
}

TEST_F(IniFileTest, MissingOneIsNamed) {
  EXPECT_EQ(refusalOf("../none.ini"), "File not found: ../none.ini");
  EXPECT_EQ(refusalOf(""), "File not found");
  EXPECT_EQ(refusalOf(path + "/below"), "Cannot open file: " + path + "/below: Not a directory");
}

TEST_F(IniFileTest, WhatIsNoPlainFileIsRefusedAtOnce) {
  const std::string fifo = folder.path() + "/fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), S_IRUSR | S_IWUSR), 0);

  for (const std::string& other : {folder.path(), fifo, std::string("/dev/zero"), std::string("/dev/null")}) {
    EXPECT_EQ(refusalOf(other), "Cannot open file: " + other + ": not a plain file");
  }
}

TEST_F(IniFileTest, LinkToAPlainFileIsRead) {
  std::filesystem::create_symlink(path, folder.path() + "/link");

  EXPECT_EQ(loadIniFile(folder.path() + "/link")->getInt("a"), 1);
}

TEST_F(IniFileTest, OneOfAMebibyteIsReadAndABiggerOneIsNot) {
  const std::string big = folder.writeFile("big.ini", "a=1\n" + std::string(kMaxIniFileSize - 4, ' '));
  EXPECT_EQ(loadIniFile(big)->getInt("a"), 1);

  folder.writeFile("big.ini", "a=1\n" + std::string(kMaxIniFileSize - 3, ' '));
  EXPECT_EQ(refusalOf(big), "Cannot read file: " + big + ": more than 1048576 bytes");
}

TEST_F(IniFileTest, ErrorHalfWayIsNotTakenForItsEnd) {
  for (const int reads : {0, 1}) {
    fake::failRead(reads, EIO);
    EXPECT_EQ(refusalOf(path), "Cannot read file: " + path + ": Input/output error");
  }
}

TEST_F(IniFileTest, InterruptedReadIsMadeAgain) {
  for (const int reads : {0, 1, 2}) {
    fake::failRead(reads, EINTR);
    EXPECT_EQ(loadIniFile(path)->getInt("c"), 3);
  }
}

}  // namespace
}  // namespace quendal
