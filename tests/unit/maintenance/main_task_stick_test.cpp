// The maintenance task's cycle around the stick's duties.
#include "maintenance/main_task.h"

#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/semaphore_set.h"
#include "support/stick_board.h"

#include <Poco/DateTime.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

const std::string kRestart = "sudo systemctl reboot -i";
const std::string kBackup = "sudo cp -a /data/app /data/home/sda1/KVBAK/";

// No carrier file, so that the link is down.
class MainTaskWithStick : public testing::Test {
 protected:
  MainTaskWithStick() {
    fake::setNow(Poco::DateTime(2024, 11, 2, 14, 3, 9).timestamp());
    board.plug({"sda", "sda1"});
    shared::netIfName = "none0";
    shared::carrierFilePath = "/sys/class/net/none0/carrier";
  }

  // Runs the task until `event` has happened.
  void runUntil(const std::string& event) {
    board.onEvent([this, event](const std::string& happened) {
      if (happened == event) {
        task.cancel();
      }
    });
    task.runTask();
  }

  StickBoard board;
  ErrorStreamCapture errors;
  SemaphoreSet networkDown{"TORVA_G_IPC_SEM_NETW_DN"};
  MainTask task;
};

TEST_F(MainTaskWithStick, StickIsServedBeforeTheLinkIsJudged) {
  board.makeStickFolder("KVBAK");

  runUntil("wait 6000");

  const Events events = fake::events();
  EXPECT_EQ(Events(events.begin(), events.begin() + 3), (Events{"wait 3000", "wait 5000", "wait 3000"}));
  EXPECT_EQ(Events(events.end() - 3, events.end()), (Events{"run " + kBackup, "run " + kRestart, "wait 6000"}));
  EXPECT_EQ(networkDown.value(), 1);
}

TEST_F(MainTaskWithStick, FailureOfTheDutiesIsReportedAndTheLinkIsJudgedInTheSameCycle) {
  board.makeStickFolder("KVCFG/0.0.0");
  board.writeStick("KVCFG/0.0.0/KVFILE_XFER_INSTRU.spt", "[new_local_dist_task]\nfileList = a#0#absent.zip\n");

  runUntil("wait 6000");

  const std::string source = board.at("/data/home/sda1/KVCFG/0.0.0/absent.zip");
  EXPECT_TRUE(
      errors.text().ends_with(" Copying [1 of 1]: absent.zip..."
                              "\nMainTask: Exception Met!"
                              "\nException Message:File not found: " +
                              source + ": No such file or directory"))
      << errors.text();
  EXPECT_EQ(networkDown.value(), 1);
}

TEST_F(MainTaskWithStick, StopRequestDuringAWaitEndsTheDuties) {
  board.makeStickFolder("KVBAK");

  runUntil("wait 5000");

  const Events commands = fake::commands();
  EXPECT_EQ(std::count(commands.begin(), commands.end(), "sudo mount -t vfat /dev/sda1 -w /data/home/sda1"), 0);
}

}  // namespace
}  // namespace quendal
