// The display application's side on an emulated board, where there is no Python: creates the seven
// semaphores that the service posts, and tells each wake-up.
//
// Usage: semwatch FILE. Writes the semaphores' ids as environment variables to FILE and to its output,
// leaves one process behind that waits for each, and ends. A wake-up is a line on the output: the
// seconds since 1970, a tab, and the event's name.

#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

constexpr std::array kEvents = {"START2RX", "START2RXDUNCARE",      "RXCOMPLETE",  "NETW_UP",
                                "NETW_DN",  "VIDEO_CONTEXT_CHANGE", "NETW_UTIL_DN"};
constexpr int kOwnerMayChange = 0600;
constexpr long long kMillisecondsPerSecond = 1000;

// One write: lines of several processes never mix.
void print(const std::string& line) {
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) {
    std::perror("semwatch");
  }
}

std::string secondsNow() {
  using namespace std::chrono;
  const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  const std::string fraction = std::to_string(kMillisecondsPerSecond + now % kMillisecondsPerSecond).substr(1);
  return std::to_string(now / kMillisecondsPerSecond) + "." + fraction;
}

// Returns only when the semaphore is gone.
void tellWakeUps(int semId, const std::string& event) {
  sembuf take{0, -1, 0};
  while (semop(semId, &take, 1) == 0) {
    print(secondsNow() + "\t" + event + "\n");
  }
  std::perror("semwatch");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    print("usage: semwatch FILE\n");
    return EXIT_FAILURE;
  }
  std::array<int, kEvents.size()> semIds{};
  std::string environment;
  for (std::size_t i = 0; i < kEvents.size(); ++i) {
    semIds.at(i) = semget(IPC_PRIVATE, 1, IPC_CREAT | kOwnerMayChange);
    environment += std::string("TORVA_G_IPC_SEM_") + kEvents.at(i) + "=" + std::to_string(semIds.at(i)) + "\n";
  }
  print(environment);
  if (!(std::ofstream(argv[1]) << environment).flush()) {
    std::perror(argv[1]);
    return EXIT_FAILURE;
  }
  for (std::size_t i = 0; i < kEvents.size(); ++i) {
    if (fork() == 0) {
      tellWakeUps(semIds.at(i), kEvents.at(i));
      return EXIT_FAILURE;
    }
  }
  return EXIT_SUCCESS;
}
