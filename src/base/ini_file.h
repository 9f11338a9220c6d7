// The one way in which ini files are read, whoever wrote them.
//
// The library's parser decides what they mean (docs/configuration.md lists its peculiarities), and what it needs
// for that is bounded here: it reads whatever it is given to the end, a directory for ever, takes an error for the
// end of the file, and makes of some hundred bytes more than the memory can hold.
#pragma once

#include <Poco/AutoPtr.h>
#include <Poco/Util/IniFileConfiguration.h>

#include <cstddef>
#include <string>

namespace quendal {

using IniFile = Poco::AutoPtr<Poco::Util::IniFileConfiguration>;

inline constexpr std::size_t kMaxIniFileSize = std::size_t{1024} * 1024;

/// Reads `text`, which refusals call `name`.
///
/// Throws Poco::DataFormatException when its sections and keys would take several MiB. Whoever then asks for
/// values gets that exception when the references in them ("${...}") lead to far more text than there is, and
/// Poco::CircularReferenceException when they lead to themselves; else all is as the library has it.
IniFile parseIniText(const std::string& text, const std::string& name);

/// Reads the file at `path` likewise, which must be a plain one of at most kMaxIniFileSize bytes; throws as
/// readPlainFile when it cannot be read.
IniFile loadIniFile(const std::string& path);

}  // namespace quendal
