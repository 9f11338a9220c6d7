// MainTask on the test's own thread, over a board of files: the script runs inside the task's waits.
//
// The task lists the machine's real interfaces. The interface watched here is the loopback one, which
// every machine has, and whether the machine has a usable "eth0" is asked first where it matters.
#pragma once

#include "maintenance/main_task.h"

#include "base/shared_state.h"
#include "network/address_rules.h"
#include "network/interface_discovery.h"
#include "network/network_state.h"
#include "support/display_trace.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace quendal {

class MainTaskFixture : public testing::Test {
 protected:
  using Entries = std::vector<std::string>;
  using Step = std::function<void()>;

  MainTaskFixture() {
    fake::setSystemRoot(root.path());
    watch("lo");
    setCarrier("1\n");
  }

  static void watch(const std::string& interface) {
    shared::netIfName = interface;
    shared::carrierFilePath = "/sys/class/net/" + interface + "/carrier";
  }

  void setCarrier(const std::string& content) const { root.writeFile(shared::carrierFilePath, content); }
  void removeCarrierFile() const { std::filesystem::remove(root.path() + shared::carrierFilePath); }

  // The number that the kernel has for the watched interface, as far as the task can see.
  void setIndex(unsigned index) const {
    root.writeFile("/sys/class/net/" + shared::netIfName + "/ifindex", std::to_string(index) + "\n");
  }
  static unsigned interfaceIndexOf(const std::string& name) {
    return Poco::Net::NetworkInterface::forName(name).index();
  }

  static void setAddress(const std::string& address) { shared::currentIpAddress.set(Poco::Net::IPAddress(address)); }

  // As after a cycle that found the link up.
  static void linkIsUp() {
    shared::linkUp = true;
    setAddress("192.168.1.20");
  }

  // Runs the task; each cycle's step is called during the wait before it, then the task is stopped.
  // Returns what happened from the first wait on, without the last one.
  Entries run(const std::vector<Step>& cycles, const Step& atOtherEvents = {}) {
    std::size_t next = 0;
    trace.onEvent([&](const std::string& event) {
      lastEvent = event;
      if (event != "wait 3000") {
        if (atOtherEvents) {
          atOtherEvents();
        }
      } else if (next < cycles.size()) {
        cycles[next++]();
      } else {
        shared::stopReq = true;
      }
    });
    task.runTask();
    Entries entries = trace.entries();
    EXPECT_EQ(next, cycles.size());
    EXPECT_EQ(entries.back(), "wait 3000");
    entries.pop_back();
    return entries;
  }

  // What the search for the linked interface comes to on this machine.
  static LinkedInterface machineChoice() {
    return chooseLinkedInterface(Poco::Net::NetworkInterface::list(true, true), "eth0");
  }
  static std::string machineLine() {
    return machineChoice().found ? "\n Quendal_L info: found linked network intf:eth0"
                                 : "\nQuendal_L info: loopback to return:";
  }

  TemporaryFolder root;
  DisplayTrace trace;
  ErrorStreamCapture capture;
  MainTask task;
  std::string lastEvent;
};

}  // namespace quendal
