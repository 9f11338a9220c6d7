#include "transfer/packet/control_files.h"

#include "base/text.h"

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

TEST(ControlFiles, ReceivedArchiveIsLoggedWithItsStrayParenthesis) {
  EXPECT_EQ(archiveReceivedText("media.zip"), "media.zip Received thru LAN.)");
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

}  // namespace
}  // namespace quendal
