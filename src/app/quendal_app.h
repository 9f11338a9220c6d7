// The application shell: command line, start-up, supervision of the five tasks, shutdown.
#pragma once

#include <Poco/Util/OptionSet.h>
#include <Poco/Util/ServerApplication.h>

#include <string>
#include <vector>

namespace quendal {

/// Ends the process after help or version output.
inline constexpr int kExitAfterInformation = 23;

/// The one application object. Runs on the main thread; see docs/architecture.md for the life of the
/// process and the README for its exit statuses.
class QuendalApp : public Poco::Util::ServerApplication {
 public:
  QuendalApp();

 protected:
  /// Loads the default configuration files beside the executable, then the subsystems.
  void initialize(Poco::Util::Application& self) override;
  void uninitialize() override;
  void defineOptions(Poco::Util::OptionSet& options) override;

  /// Starts up, runs the tasks until a termination request and stops them. Returns 0; ends the process
  /// with another status after help output and on bad configuration.
  int main(const ArgVec& arguments) override;

 private:
  void handleHelp(const std::string& name, const std::string& value);
  void handleVersion(const std::string& name, const std::string& value);
  void loadDefaultConfiguration();
  void runTasks();

  bool helpRequested = false;
};

}  // namespace quendal
