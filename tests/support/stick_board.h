// A board with a technician's stick in a temporary folder, on the recording platform.
#pragma once

#include "support/temporary_folder.h"

#include <functional>
#include <string>
#include <vector>

namespace quendal {

/// The tree of a board: block devices and partitions of the kernel, mount points below /data/home, the
/// application below /data/app. The process is in /data/app/kavenor/bin and stays there; the target
/// directory is /data/app/kavenor/Target.
///
/// The stick's content appears at the mount point when a mount command is recorded and goes away when
/// that mount point is unmounted, as a real one does.
class StickBoard {
 public:
  StickBoard();

  /// The path of the board's `path` in the temporary folder.
  std::string at(const std::string& path) const { return root_.path() + path; }

  void write(const std::string& path, const std::string& content) const { root_.writeFile(path, content); }
  void makeFolder(const std::string& path) const;
  bool exists(const std::string& path) const;

  /// Folders and files on the stick, while it is not mounted.
  void makeStickFolder(const std::string& name) const { makeFolder("/stick/" + name); }
  void writeStick(const std::string& name, const std::string& content) const { write("/stick/" + name, content); }

  /// The kernel sees these block devices, and lists each as a partition.
  void plug(const std::vector<std::string>& names) const;
  void unplug() const;

  /// From now on every mount fails.
  void refuseMounts() { mountable_ = false; }

  /// From now on every unmount fails.
  void refuseUnmounts() { releasable_ = false; }

  /// Called after each recorded event.
  void onEvent(std::function<void(const std::string& event)> observer) { observer_ = std::move(observer); }

 private:
  void follow(const std::string& event);
  void mount(const std::string& mountPoint);
  void unmount(const std::string& mountPoint);

  TemporaryFolder root_;
  std::function<void(const std::string&)> observer_;
  std::string mountedAt_;
  bool mountable_ = true;
  bool releasable_ = true;
};

/// The stick's waits, recorded as "sleep <ms>" in their order among the commands; nobody asks to stop.
bool recordedWait(long milliseconds);

}  // namespace quendal
