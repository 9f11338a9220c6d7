// The journal of a staged transfer, as a power cut or a stranger may have left it.

#include "fuzz/require.h"
#include "transfer/store/staging_journal.h"

#include <Poco/Checksum.h>
#include <Poco/NumberFormatter.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace quendal {
namespace {

using fuzz::require;

// No mutation hits a checksum, so the text is tried with a right one behind it as well.
std::string withEnd(const std::string& before) {
  Poco::Checksum checksum(Poco::Checksum::TYPE_CRC32);
  checksum.update(before);
  return before + "end " + Poco::NumberFormatter::formatHex(checksum.checksum(), 8) + "\n";
}

void check(const std::string& text) {
  if (const auto files = parseJournal(text)) {
    const std::string again = journalText(*files);
    require(parseJournal(again) == files, "what is read is written and read back");
    require(again.size() <= text.size(), "nothing is read that does not stand there");
  }
}

}  // namespace
}  // namespace quendal

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  quendal::check(text);
  quendal::check(quendal::withEnd(text));
  quendal::check(quendal::withEnd("staged files 1\n" + text));
  return 0;
}
