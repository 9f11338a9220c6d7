#include "support/stick_board.h"

#include "base/platform.h"
#include "base/shared_state.h"
#include "support/fake_platform.h"

#include <filesystem>

namespace quendal {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kMount = "run sudo mount -t vfat ";
constexpr std::string_view kMountPointOption = " -w ";
constexpr std::string_view kUnmount = "run sudo umount ";

}  // namespace

StickBoard::StickBoard() {
  for (const char* folder : {"/sys/class/block", "/proc", "/data/home", "/data/app/kavenor/bin",
                             "/data/app/kavenor/Work", "/data/app/kavenor/Target", "/data/app/Log", "/stick"}) {
    makeFolder(folder);
  }
  unplug();
  fs::current_path(at("/data/app/kavenor/bin"));
  shared::targetRootDir = at("/data/app/kavenor/Target");
  fake::setSystemRoot(root_.path());
  fake::onEvent([this](const std::string& event) { follow(event); });
}

void StickBoard::makeFolder(const std::string& path) const {
  fs::create_directories(at(path));
}

bool StickBoard::exists(const std::string& path) const {
  return fs::exists(at(path));
}

void StickBoard::plug(const std::vector<std::string>& names) const {
  std::string partitions = "major minor  #blocks  name\n\n";
  int minorNo = 0;
  for (const std::string& name : names) {
    makeFolder("/sys/class/block/" + name);
    partitions += "   8 " + std::to_string(minorNo++) + " 1024 " + name + "\n";
  }
  write("/proc/partitions", partitions);
}

void StickBoard::unplug() const {
  fs::remove_all(at("/sys/class/block"));
  makeFolder("/sys/class/block");
  write("/proc/partitions", "major minor  #blocks  name\n\n");
}

void StickBoard::follow(const std::string& event) {
  if (event.starts_with(kMount)) {
    mount(event.substr(event.find(kMountPointOption) + kMountPointOption.size()));
  } else if (event.starts_with(kUnmount)) {
    unmount(event.substr(kUnmount.size()));
  }
  if (observer_) {
    observer_(event);
  }
}

void StickBoard::mount(const std::string& mountPoint) {
  if (!mountable_) {
    return;
  }
  fs::remove(at(mountPoint));
  fs::rename(at("/stick"), at(mountPoint));
  mountedAt_ = mountPoint;
}

void StickBoard::unmount(const std::string& mountPoint) {
  if (!releasable_ || mountPoint != mountedAt_) {
    return;
  }
  fs::rename(at(mountPoint), at("/stick"));
  makeFolder(mountPoint);
  mountedAt_.clear();
}

bool recordedWait(long milliseconds) {
  platform::sleepMs(milliseconds);
  return false;
}

}  // namespace quendal
