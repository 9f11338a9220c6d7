// The file that an alive request may carry: where the transmitter's server is.
#pragma once

#include <Poco/AutoPtr.h>
#include <Poco/Util/IniFileConfiguration.h>

#include <string>

namespace quendal {

inline constexpr const char* kServerPortKey = "new_alive_cfgpc_info.TCPserverPort";
inline constexpr const char* kServerIpKey = "new_alive_cfgpc_info.TCPserverIP";

/// Reads `text`, which may have come from anybody on the network, as an ini file.
///
/// Throws Poco::DataFormatException when it refers to other values ("${...}") more often than a few
/// times: each reference may stand for several more, and a thousand bytes can so ask for more memory
/// than there is. Otherwise throws what the ini parser throws.
Poco::AutoPtr<Poco::Util::IniFileConfiguration> parseRequestFile(const std::string& text);

/// Reads the file at `path` likewise; Poco::FileException when it cannot be opened.
Poco::AutoPtr<Poco::Util::IniFileConfiguration> loadRequestFile(const std::string& path);

}  // namespace quendal
