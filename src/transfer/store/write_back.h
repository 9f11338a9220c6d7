// Writes received files back to their disks in the background, and knows when all of them are there.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace quendal {

/// What was stored lies in memory until the system finds the time: half a minute later, a power cut still
/// takes whole files with it. So the file systems that have been written to are written back once a second by
/// a thread of their own, which lives, with a descriptor of each, only as long as there is something to write.
///
/// A disk that reports an error is a line on the error stream. One that hangs takes the thread with it and
/// nobody else: whoever waits does so with a limit.
class WriteBack {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Everything that was stored before it was handed out.
  using Ticket = std::uint64_t;

  WriteBack();

  /// Has what is left written back, for a second at most: a disk that hangs is left behind with its thread.
  ~WriteBack();

  WriteBack(const WriteBack&) = delete;
  WriteBack& operator=(const WriteBack&) = delete;
  WriteBack(WriteBack&&) = delete;
  WriteBack& operator=(WriteBack&&) = delete;

  /// Something is being written for as long as this lives: make it before the file is opened, so that it
  /// outlives the file's last bytes. One at a time.
  class Writing {
   public:
    explicit Writing(WriteBack& writeBack);
    ~Writing();
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;
    Writing(Writing&&) = delete;
    Writing& operator=(Writing&&) = delete;

    /// It goes into the file just opened as `descriptor` at `path`. Before the first byte: only so an error in
    /// writing it back is sure to be seen.
    void intoFile(int descriptor, const std::string& path) const;

    /// It goes into some file in `folder`.
    void intoFolder(const std::string& folder) const;

   private:
    WriteBack& writeBack_;
  };

  /// Has all that was stored up to now written back at once, and does not wait for it.
  Ticket request();

  /// Waits until all that `ticket` stands for is on its disk, or has been reported as an error. False: not by
  /// `limit`, or not before `ended` said, asked ten times a second, that there is no time left.
  bool await(Ticket ticket, TimePoint limit, const std::function<bool()>& ended);

  /// How many errors there have been so far; the last await has seen them all.
  unsigned failures() const;

 private:
  struct State;

  static void run(State& state);

  void watch(int file, const std::string& folder);
  void startThread();

  std::shared_ptr<State> state_;  // the thread's, too, which may be left behind
};

}  // namespace quendal
