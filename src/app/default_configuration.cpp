#include "app/default_configuration.h"

#include "base/plain_file.h"

#include <Poco/Exception.h>
#include <Poco/Util/IniFileConfiguration.h>
#include <Poco/Util/JSONConfiguration.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#include <Poco/Util/XMLConfiguration.h>

#include <cstddef>
#include <sstream>

namespace quendal {
namespace {

constexpr std::size_t kMaxSize = std::size_t{1024} * 1024;

}  // namespace

Poco::AutoPtr<Poco::Util::AbstractConfiguration> readConfigurationFile(const std::string& path,
                                                                       const std::string& format) {
  std::istringstream text(readPlainFile(path, kMaxSize));
  if (format == "properties") {
    return new Poco::Util::PropertyFileConfiguration(text);
  }
  if (format == "ini") {
    return new Poco::Util::IniFileConfiguration(text);
  }
  if (format == "json") {
    return new Poco::Util::JSONConfiguration(text);
  }
  if (format == "xml") {
    return new Poco::Util::XMLConfiguration(text);
  }
  throw Poco::InvalidArgumentException("no format of configuration files", format);
}

}  // namespace quendal
