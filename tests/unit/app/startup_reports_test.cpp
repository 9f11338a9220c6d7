#include "app/startup_reports.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace quendal {
namespace {

TEST(IdentityReport, NamesGroupLiftAndDisplay) {
  EXPECT_EQ(identityReport(1, 2, 3), "   GroupNO/LiftNO/DisplayNO:1/2/3");
  EXPECT_EQ(identityReport(0, 65535, 10), "   GroupNO/LiftNO/DisplayNO:0/65535/10");
}

TEST(DipSetting, SixLowBitsAreTheUnitAndTheTwoEndsMarkTheCar) {
  struct Row {
    const char* text;
    bool isCar;
    unsigned unitId;
  };
  const std::vector<Row> table = {{"0", true, 0},
                                  {"7F", true, 63},
                                  {"7f", true, 63},
                                  {"41", false, 1},
                                  {"0x41", false, 1},
                                  {"0X3E", false, 62},
                                  {"3F", true, 63},
                                  {"40", true, 0},
                                  {"C0", true, 0},
                                  {"1FF", true, 63},
                                  {"101", false, 1},
                                  {" 5", false, 5},
                                  {"5 rest", false, 5},
                                  {"", true, 0},
                                  {"xyz", true, 0},
                                  {"g1", true, 0},
                                  {"123456789ABCDEF01", true, 0}};

  for (const Row& row : table) {
    const DipSetting setting = parseDipSetting(row.text);
    EXPECT_EQ(setting.isCar, row.isCar) << row.text;
    EXPECT_EQ(setting.unitId, row.unitId) << row.text;
  }
}

TEST(DipReport, NamesTypeAndUnit) {
  EXPECT_EQ(dipReport({}), "\r\n   DIP switch set LCD to Car Type, Unit ID = 0");
  EXPECT_EQ(dipReport({.isCar = true, .unitId = 63}), "\r\n   DIP switch set LCD to Car Type, Unit ID = 63");
  EXPECT_EQ(dipReport({.isCar = false, .unitId = 1}), "\r\n   DIP switch set LCD to HALL Type, Unit ID = 1");
}

TEST(OrientationReport, NamesTheFourQuarterTurnsAndNoOther) {
  const std::vector<std::pair<int, std::string>> table = {{0, "Landscape"},
                                                          {89, "Landscape"},
                                                          {90, "Portrait"},
                                                          {180, "Landscape Inverted"},
                                                          {270, "Portrait Inverted"},
                                                          {359, "Portrait Inverted"},
                                                          {360, ""},
                                                          {-90, ""},
                                                          {-89, "Landscape"},
                                                          {1000000, ""}};

  for (const auto& [degrees, name] : table) {
    EXPECT_EQ(orientationReport(degrees), "\r\n   Orientation: " + name + "\r\n") << degrees;
  }
}

}  // namespace
}  // namespace quendal
