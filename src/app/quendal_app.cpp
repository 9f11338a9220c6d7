#include "app/quendal_app.h"

#include "app/default_configuration.h"
#include "app/running_tasks.h"
#include "app/startup_config.h"
#include "base/console.h"
#include "base/error_stream_channel.h"
#include "base/platform.h"
#include "base/shared_state.h"
#include "ipc/semaphore_table.h"
#include "maintenance/main_task.h"
#include "multicast/mc_task.h"
#include "multicast/multicast_state.h"
#include "transfer/data_task.h"
#include "transfer/store/staging_folder.h"
#include "video/video_mc_watch_init_task.h"
#include "video/video_mc_watch_task.h"

#include <Poco/Path.h>
#include <Poco/Util/HelpFormatter.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionCallback.h>

#include <cstdlib>
#include <iostream>

namespace quendal {

using Poco::Util::HelpFormatter;
using Poco::Util::Option;
using Poco::Util::OptionCallback;
using Poco::Util::OptionSet;

namespace {

// Never freed: the tasks may read them for as long as the process lives.
void createStartTimes() {
  const Poco::Timestamp start = platform::now();
  shared::startTimestamp = new Poco::Timestamp(start);
  shared::cycleTimestamp = new Poco::Timestamp(start);
  shared::startDateTime = new Poco::DateTime(start);
  shared::cycleDateTime = start;
}

// No task runs and no destructor has work to do yet, so the process may simply end.
void exitIfFailed(int status) {
  if (status != 0) {
    std::exit(status);  // NOLINT(concurrency-mt-unsafe)
  }
}

}  // namespace

QuendalApp::QuendalApp() {
  ErrorStreamChannel::install();
}

void QuendalApp::initialize(Poco::Util::Application& self) {
  loadDefaultConfiguration();
  Poco::Util::ServerApplication::initialize(self);
}

// The files beside the executable or above, as the library's own loadConfiguration, but for the way of reading.
void QuendalApp::loadDefaultConfiguration() {
  const std::string name = config().getString("application.baseName");
  for (const char* format : kConfigurationFormats) {
    Poco::Path file(name + "." + format);
    if (findFile(file)) {
      config().add(readConfigurationFile(file.toString(), format), PRIO_DEFAULT);
      config().setString("application.configDir", file.absolute().parent().toString());
    }
  }
}

void QuendalApp::uninitialize() {
  Poco::Util::ServerApplication::uninitialize();
}

void QuendalApp::defineOptions(OptionSet& options) {
  ServerApplication::defineOptions(options);
  options.addOption(Option("help", "h", "display help information on command line arguments")
                        .required(false)
                        .repeatable(false)
                        .callback(OptionCallback<QuendalApp>(this, &QuendalApp::handleHelp)));
  options.addOption(Option("version", "v", "display binary/assembly version number")
                        .required(false)
                        .repeatable(false)
                        .callback(OptionCallback<QuendalApp>(this, &QuendalApp::handleVersion)));
}

void QuendalApp::handleHelp(const std::string& /*name*/, const std::string& /*value*/) {
  helpRequested = true;
  HelpFormatter formatter(options());
  formatter.setCommand(commandName());
  formatter.setUsage("OPTIONS");
  formatter.setHeader("Quendal_L app/service");
  formatter.format(std::cout);
  stopOptionsProcessing();
}

void QuendalApp::handleVersion(const std::string& /*name*/, const std::string& /*value*/) {
  helpRequested = true;
  console::line("Quendal_L version:" QUENDAL_VERSION "\n");
  stopOptionsProcessing();
}

int QuendalApp::main(const ArgVec& /*arguments*/) {
  if (helpRequested) {
    exitIfFailed(kExitAfterInformation);
  }
  console::line("Quendal for Linux: V_" QUENDAL_VERSION "\n");
  createStartTimes();
  exitIfFailed(loadStartupConfig());
  recoverStaging(shared::targetRootDir);
  loadSemaphoreIds();
  runTasks();
  return EXIT_OK;
}

void QuendalApp::runTasks() {
  RunningTasks tasks;
  // Created before any task is started: its constructor gives the flags their start values.
  auto* mainTask = new MainTask;
  tasks.start(mainTask);
  tasks.start(new McTask);
  tasks.start(new DataTask);
  tasks.start(new VideoMcWatchTask);
  tasks.start(new VideoMcWatchInitTask);

  waitForTerminationRequest();
}

}  // namespace quendal
