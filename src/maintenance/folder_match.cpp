#include "maintenance/folder_match.h"

#include "maintenance/text_split.h"

#include <cstdlib>

namespace quendal {
namespace {

constexpr std::size_t kNumbersInName = 3;
constexpr int kGroupWeight = 100;
constexpr int kColumnWeight = 10;
constexpr int kUnitWeight = 1;

std::uint16_t parseNumber(const std::string& part) {
  return static_cast<std::uint16_t>(std::strtol(part.c_str(), nullptr, 10));
}

bool fits(std::uint16_t number, std::uint16_t own) {
  return number == 0 || number == own;
}

std::string equality(std::uint16_t number, std::uint16_t own) {
  return number == own ? "*1" : "*0";
}

std::string joined(const DisplayNumbers& numbers) {
  return std::to_string(numbers.group) + ":" + std::to_string(numbers.column) + ":" + std::to_string(numbers.unit);
}

std::string comparisonReport(const DisplayNumbers& folder, const DisplayNumbers& own) {
  return "\ngId-cId-uId: " + joined(folder) + "\nmy GroupId-ColumnId-UnitId: " + joined(own) + "\n" +
         equality(folder.group, own.group) + equality(folder.column, own.column) + equality(folder.unit, own.unit) +
         "\n";
}

std::string matchReport(const DisplayNumbers& folder) {
  return "\nMatched gId:" + std::to_string(folder.group) + "cId:" + std::to_string(folder.column) +
         "uId:" + std::to_string(folder.unit);
}

}  // namespace

std::optional<DisplayNumbers> parseFolderName(const std::vector<std::string>& parts) {
  if (parts.size() != kNumbersInName) {
    return std::nullopt;
  }
  return DisplayNumbers{.group = parseNumber(parts[0]), .column = parseNumber(parts[1]), .unit = parseNumber(parts[2])};
}

std::optional<int> folderWeight(const DisplayNumbers& folder, const DisplayNumbers& own) {
  if (!fits(folder.group, own.group) || !fits(folder.column, own.column) || !fits(folder.unit, own.unit)) {
    return std::nullopt;
  }
  return (folder.group == own.group ? kGroupWeight : 0) + (folder.column == own.column ? kColumnWeight : 0) +
         (folder.unit == own.unit ? kUnitWeight : 0);
}

std::string considerFolder(const std::string& name, const DisplayNumbers& own, FolderChoice& best) {
  std::string report = "\nsub path name:" + name;
  if (name.empty()) {
    return report;
  }
  const std::vector<std::string> parts = split(name, ".");
  report += "\ntoken Number:" + std::to_string(parts.size());
  const std::optional<DisplayNumbers> folder = parseFolderName(parts);
  if (!folder) {
    return report;
  }
  report += comparisonReport(*folder, own);
  const std::optional<int> weight = folderWeight(*folder, own);
  if (!weight) {
    return report;
  }
  report += matchReport(*folder);
  if (*weight > best.weight) {
    best = {.name = name, .weight = *weight};
    report += "\nweight:" + std::to_string(*weight) + "  File:" + name;
  }
  return report;
}

}  // namespace quendal
