// What is judged of each sight of the link: all of them.
#include "maintenance/link_watch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

constexpr LinkVerdict kDown = LinkVerdict::kDown;
constexpr LinkVerdict kUp = LinkVerdict::kUp;
constexpr LinkVerdict kRefresh = LinkVerdict::kRefresh;

// A sight, and the verdicts: of the first look at a link that was down and at one that was up, and of the second.
struct Row {
  bool hasCarrierFile;
  bool hasInterface;
  bool hasCarrier;
  bool hasUsableAddress;
  LinkVerdict whenDown;
  LinkVerdict whenUp;
  LinkVerdict refreshed;
};

const std::vector<Row> kRows = {
    // Without a carrier file nothing else counts, but behind a refresh an interface does without one.
    {false, false, false, false, kDown, kDown, kDown},
    {false, false, false, true, kDown, kDown, kDown},
    {false, false, true, false, kDown, kDown, kDown},
    {false, false, true, true, kDown, kDown, kDown},
    {false, true, false, false, kDown, kDown, kDown},
    {false, true, false, true, kDown, kDown, kUp},
    {false, true, true, false, kDown, kDown, kDown},
    {false, true, true, true, kDown, kDown, kUp},
    // Without the interface or its carrier the address that is remembered is not asked for.
    {true, false, false, false, kRefresh, kRefresh, kDown},
    {true, false, false, true, kRefresh, kRefresh, kDown},
    {true, false, true, false, kRefresh, kRefresh, kDown},
    {true, false, true, true, kRefresh, kRefresh, kDown},
    {true, true, false, false, kRefresh, kRefresh, kDown},
    {true, true, false, true, kRefresh, kRefresh, kDown},
    // With both, a link that is up stays so by its address, and one that was down asks for it again.
    {true, true, true, false, kRefresh, kDown, kDown},
    {true, true, true, true, kRefresh, kUp, kUp}};

LinkSight sightOf(const Row& row) {
  return {.hasCarrierFile = row.hasCarrierFile,
          .hasInterface = row.hasInterface,
          .hasCarrier = row.hasCarrier,
          .hasUsableAddress = row.hasUsableAddress};
}

std::string nameOf(const Row& row) {
  return std::string(row.hasCarrierFile ? "carrier file, " : "no carrier file, ") +
         (row.hasInterface ? "interface, " : "no interface, ") + (row.hasCarrier ? "carrier, " : "no carrier, ") +
         (row.hasUsableAddress ? "address" : "no address");
}

TEST(JudgeLink, EverySightOfALinkThatWasDownHasItsVerdict) {
  for (const Row& row : kRows) {
    EXPECT_EQ(judgeLink(sightOf(row), false), row.whenDown) << nameOf(row);
  }
}

TEST(JudgeLink, EverySightOfALinkThatWasUpHasItsVerdict) {
  for (const Row& row : kRows) {
    EXPECT_EQ(judgeLink(sightOf(row), true), row.whenUp) << nameOf(row);
  }
}

TEST(JudgeRefreshedLink, EverySightHasItsVerdictAndNoneAsksForAnotherRefresh) {
  for (const Row& row : kRows) {
    EXPECT_EQ(judgeRefreshedLink(sightOf(row)), row.refreshed) << nameOf(row);
  }
}

}  // namespace
}  // namespace quendal
