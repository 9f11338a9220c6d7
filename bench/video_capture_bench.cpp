// The capture of the video watch on its own: counts a stream until it is told to end.
//
// Runs the service's own task, with nothing of the service around it, and prints what it has counted
// in a line of its own when SIGTERM comes. Usage: video_capture_bench INTERFACE GROUP

#include "network/network_state.h"
#include "video/video_mc_watch_init_task.h"
#include "video/video_source.h"
#include "video/video_state.h"

#include <Poco/TaskManager.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  if (argc != 3 || !quendal::isMulticastGroup(argv[2])) {
    std::fputs("usage: video_capture_bench INTERFACE GROUP\n", stderr);
    return EXIT_FAILURE;
  }
  sigset_t termination{};
  sigemptyset(&termination);
  sigaddset(&termination, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &termination, nullptr);

  quendal::shared::netIfName = argv[1];
  quendal::shared::linkUp = true;
  quendal::watchVideoStream(argv[2]);
  Poco::TaskManager tasks;
  tasks.start(new quendal::VideoMcWatchInitTask);

  int signal = 0;
  sigwait(&termination, &signal);
  tasks.cancelAll();
  tasks.joinAll();
  std::printf("\n%u\n", quendal::shared::videoPacketCount.load());
  return EXIT_SUCCESS;
}
