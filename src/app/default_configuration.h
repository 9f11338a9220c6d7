// The optional configuration files beside the executable, in the library's formats.
#pragma once

#include <Poco/AutoPtr.h>
#include <Poco/Util/AbstractConfiguration.h>

#include <array>
#include <string>

namespace quendal {

/// The extensions that stand for a format, in the order in which the files are loaded.
inline constexpr std::array<const char*, 4> kConfigurationFormats = {"properties", "ini", "json", "xml"};

/// Reads the configuration file at `path`, whose format is one of kConfigurationFormats.
///
/// The library's parsers take a disk's error for more to come, and go on for ever; so they are given what
/// has been read before. Throws as readPlainFile when the file cannot be read, and what the parser throws.
Poco::AutoPtr<Poco::Util::AbstractConfiguration> readConfigurationFile(const std::string& path,
                                                                       const std::string& format);

}  // namespace quendal
