#include "maintenance/stick/folder_match.h"

#include "base/text.h"

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

std::string equality(std::uint16_t number, std::uint16_t own) {
  return number == own ? "*1" : "*0";
}

std::string joined(const DisplayIdentity& numbers) {
  return std::to_string(numbers.groupNo) + ":" + std::to_string(numbers.columnNo) + ":" +
         std::to_string(numbers.displayNo);
}

std::string comparisonReport(const DisplayIdentity& folder, const DisplayIdentity& own) {
  return "\ngId-cId-uId: " + joined(folder) + "\nmy GroupId-ColumnId-UnitId: " + joined(own) + "\n" +
         equality(folder.groupNo, own.groupNo) + equality(folder.columnNo, own.columnNo) +
         equality(folder.displayNo, own.displayNo) + "\n";
}

std::string matchReport(const DisplayIdentity& folder) {
  return "\nMatched gId:" + std::to_string(folder.groupNo) + "cId:" + std::to_string(folder.columnNo) +
         "uId:" + std::to_string(folder.displayNo);
}

}  // namespace

std::optional<DisplayIdentity> parseFolderName(const std::vector<std::string>& parts) {
  if (parts.size() != kNumbersInName) {
    return std::nullopt;
  }
  return DisplayIdentity{
      .groupNo = parseNumber(parts[0]), .columnNo = parseNumber(parts[1]), .displayNo = parseNumber(parts[2])};
}

std::optional<int> folderWeight(const DisplayIdentity& folder, const DisplayIdentity& own) {
  if (!isAddressedTo(folder, own)) {
    return std::nullopt;
  }
  return (folder.groupNo == own.groupNo ? kGroupWeight : 0) + (folder.columnNo == own.columnNo ? kColumnWeight : 0) +
         (folder.displayNo == own.displayNo ? kUnitWeight : 0);
}

std::string considerFolder(const std::string& name, const DisplayIdentity& own, FolderChoice& best) {
  std::string report = "\nsub path name:" + name;
  if (name.empty()) {
    return report;
  }
  const std::vector<std::string> parts = split(name, ".");
  report += "\ntoken Number:" + std::to_string(parts.size());
  const std::optional<DisplayIdentity> folder = parseFolderName(parts);
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
