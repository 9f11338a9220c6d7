#include "transfer/control_files.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace quendal {
namespace {

TEST(ControlFiles, MarkersMatchAnywhereInTheNameAndMindTheirCase) {
  const std::vector<std::pair<std::string, ControlEffects>> table = {{"FileList.sys", {.enterNormalMode = true}},
                                                                     {"oldFileList.sys.bak", {.enterNormalMode = true}},
                                                                     {"FLDnCare.sys", {.enterDontCareMode = true}},
                                                                     {"x/FLDnCare.sys1", {.enterDontCareMode = true}},
                                                                     {"kvXferStop.sys", {.endTransfer = true}},
                                                                     {"1kvXferStop.sys2", {.endTransfer = true}},
                                                                     {"media.zip", {.logArchive = true}},
                                                                     {"media.zip.part", {.logArchive = true}},
                                                                     {".zip", {.logArchive = true}},
                                                                     {"filelist.sys", {}},
                                                                     {"FLDNCARE.SYS", {}},
                                                                     {"kvxferstop.sys", {}},
                                                                     {"media.ZIP", {}},
                                                                     {"mediazip", {}},
                                                                     {"FileList.sy", {}},
                                                                     {"", {}},
                                                                     {"reboot.cfg", {}}};

  for (const auto& [name, effects] : table) {
    EXPECT_EQ(controlEffectsOf(name), effects) << name;
  }
}

TEST(ControlFiles, OneNameMayHoldSeveralMarkers) {
  EXPECT_EQ(
      controlEffectsOf("FileList.sysFLDnCare.syskvXferStop.sys.zip"),
      (ControlEffects{.enterNormalMode = true, .enterDontCareMode = true, .endTransfer = true, .logArchive = true}));
}

TEST(ControlFiles, MarkerBehindAZeroByteStillCounts) {
  EXPECT_TRUE(controlEffectsOf(std::string("a\0FileList.sys", 14)).enterNormalMode);
}

TEST(ArchiveLog, LineHasTimeDateNameAndItsStrayParenthesis) {
  EXPECT_EQ(archiveLogLine(Poco::DateTime(2024, 3, 7, 4, 5, 6), "media.zip"),
            "04:05:06\t07/03/2024 - media.zip Received thru LAN.)\r\n");
  EXPECT_EQ(archiveLogLine(Poco::DateTime(1999, 12, 31, 23, 59, 59), "%s%n.zip"),
            "23:59:59\t31/12/1999 - %s%n.zip Received thru LAN.)\r\n");
}

TEST(ArchiveLog, StampIsHowEveryLineBegins) {
  EXPECT_EQ(archiveLogStamp(Poco::DateTime(2024, 3, 7, 4, 5, 6)), "04:05:06\t07/03/2024 - ");
}

TEST(RebootRequest, IsTheWholeNameInAnyCase) {
  const std::vector<std::pair<std::string, bool>> table = {
      {"reboot.cfg", true},      {"REBOOT.CFG", true},
      {"ReBoot.Cfg", true},      {"xreboot.cfg", false},
      {"reboot.cfg.bak", false}, {"./reboot.cfg", false},
      {"reboot.cf", false},      {"", false},
      {"reboot.cfg ", false},    {std::string("reboot.cfg\0", 11), false}};

  for (const auto& [name, asked] : table) {
    EXPECT_EQ(isRebootRequest(asciiLowerCase(name)), asked) << name;
  }
}

TEST(LowerCase, TurnsOnlyAToZ) {
  EXPECT_EQ(asciiLowerCase("AZaz09[@`{"), "azaz09[@`{");
  EXPECT_EQ(asciiLowerCase("\xC4\xD6"), "\xC4\xD6") << "whatever an old code page calls these";
}

}  // namespace
}  // namespace quendal
