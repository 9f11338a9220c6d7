#include "app/default_configuration.h"

#include "support/failing_read.h"
#include "support/temporary_folder.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <string>

namespace quendal {
namespace {

// What says in each format that logging.level is 3.
const std::map<std::string, std::string> kTexts = {
    {"properties", "# a comment\nlogging.level = 3\n"},
    {"ini", "[logging]\nlevel = 3\n"},
    {"json", R"({"logging": {"level": 3}})"},
    {"xml", "<config><logging><level>3</level></logging></config>"},
};

TEST(DefaultConfiguration, EachFormatIsRead) {
  const TemporaryFolder folder;
  for (const std::string format : kConfigurationFormats) {
    const std::string path = folder.writeFile("Quendal_L." + format, kTexts.at(format));

    EXPECT_EQ(readConfigurationFile(path, format)->getInt("logging.level"), 3) << format;
  }
}

TEST(DefaultConfiguration, FileThatTheDiskCannotReadThrowsInsteadOfBeingReadForEver) {
  const TemporaryFolder folder;
  for (const std::string format : kConfigurationFormats) {
    const std::string path = folder.writeFile("Quendal_L." + format, kTexts.at(format));
    for (const int readsBefore : {0, 1}) {
      fake::failRead(readsBefore, EIO);

      EXPECT_THROW(readConfigurationFile(path, format), Poco::ReadFileException) << format << " " << readsBefore;
    }
  }
}

TEST(DefaultConfiguration, InterruptedReadIsMadeAgain) {
  const TemporaryFolder folder;
  const std::string path = folder.writeFile("Quendal_L.properties", kTexts.at("properties"));
  fake::failRead(0, EINTR);

  EXPECT_EQ(readConfigurationFile(path, "properties")->getInt("logging.level"), 3);
}

TEST(DefaultConfiguration, FolderOfThatNameThrows) {
  const TemporaryFolder folder;

  EXPECT_THROW(readConfigurationFile(folder.path(), "properties"), Poco::OpenFileException);
}

TEST(DefaultConfiguration, OtherFormatsThrow) {
  const TemporaryFolder folder;
  const std::string path = folder.writeFile("Quendal_L.yaml", "logging.level: 3\n");

  EXPECT_THROW(readConfigurationFile(path, "yaml"), Poco::InvalidArgumentException);
}

}  // namespace
}  // namespace quendal
