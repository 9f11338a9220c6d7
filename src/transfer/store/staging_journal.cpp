#include "transfer/store/staging_journal.h"

#include <Poco/Checksum.h>
#include <Poco/NumberFormatter.h>

#include <charconv>

namespace quendal {
namespace {

constexpr std::string_view kHeading = "staged files 1\n";
constexpr int kChecksumDigits = 8;

std::string endLine(std::string_view before) {
  Poco::Checksum checksum(Poco::Checksum::TYPE_CRC32);
  checksum.update(before.data(), static_cast<unsigned>(before.size()));
  return "end " + Poco::NumberFormatter::formatHex(checksum.checksum(), kChecksumDigits) + "\n";
}

// The plain decimal number at the start of `text`, up to the blank behind it; both are taken off.
std::optional<std::uint32_t> takeNumber(std::string_view& text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const auto used = static_cast<std::size_t>(end - text.data());
  if (error != std::errc() || used == text.size() || text[used] != ' ') {
    return std::nullopt;
  }
  text.remove_prefix(used + 1);
  return number;
}

std::optional<StagedFile> takeFile(std::string_view& text) {
  const std::optional<std::uint32_t> number = takeNumber(text);
  const std::optional<std::uint32_t> length = number ? takeNumber(text) : std::nullopt;
  if (!length || text.size() <= *length || text[*length] != '\n') {
    return std::nullopt;
  }
  StagedFile file{.number = *number, .name = std::string(text.substr(0, *length))};
  text.remove_prefix(*length + 1);
  return file;
}

}  // namespace

std::string journalText(const std::vector<StagedFile>& files) {
  std::string text(kHeading);
  for (const StagedFile& file : files) {
    text += std::to_string(file.number) + " " + std::to_string(file.name.size()) + " " + file.name + "\n";
  }
  return text + endLine(text);
}

std::optional<std::vector<StagedFile>> parseJournal(std::string_view text) {
  const std::size_t endSize = endLine({}).size();
  if (text.size() < kHeading.size() + endSize || !text.starts_with(kHeading)) {
    return std::nullopt;
  }
  std::string_view rest = text.substr(0, text.size() - endSize);
  if (text.substr(rest.size()) != endLine(rest)) {
    return std::nullopt;
  }
  rest.remove_prefix(kHeading.size());
  std::vector<StagedFile> files;
  while (!rest.empty()) {
    std::optional<StagedFile> file = takeFile(rest);
    if (!file) {
      return std::nullopt;
    }
    files.push_back(std::move(*file));
  }
  return files;
}

}  // namespace quendal
