#include "base/console.h"

#include "base/error_stream_channel.h"
#include "support/error_stream_capture.h"

#include <Poco/Exception.h>
#include <Poco/Logger.h>
#include <Poco/LoggingFactory.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace quendal {
namespace {

// An error stream that keeps its writes apart: each comes out as it went in.
class WriteCounter {
 public:
  WriteCounter() : saved_(dup(STDERR_FILENO)) {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends_.data()), 0);
    dup2(ends_[0], STDERR_FILENO);
  }
  ~WriteCounter() {
    dup2(saved_, STDERR_FILENO);
    for (const int descriptor : {saved_, ends_[0], ends_[1]}) {
      close(descriptor);
    }
  }
  WriteCounter(const WriteCounter&) = delete;
  WriteCounter& operator=(const WriteCounter&) = delete;
  WriteCounter(WriteCounter&&) = delete;
  WriteCounter& operator=(WriteCounter&&) = delete;

  std::vector<std::string> writes() const {
    std::vector<std::string> result;
    std::array<char, 1024> write{};
    for (;;) {
      const ssize_t count = recv(ends_[1], write.data(), write.size(), MSG_DONTWAIT);
      if (count <= 0) {
        return result;
      }
      result.emplace_back(write.data(), static_cast<std::size_t>(count));
    }
  }

 private:
  int saved_;
  std::array<int, 2> ends_{};
};

TEST(Console, WritesTextAsItStands) {
  const ErrorStreamCapture capture;

  console::write(std::string("a\0b\r\n", 5));
  console::write("");

  EXPECT_EQ(capture.text(), std::string("a\0b\r\n", 5));
}

TEST(Console, LineBeginsWithItsBreak) {
  const ErrorStreamCapture capture;

  console::line("DataTask paused");

  EXPECT_EQ(capture.text(), "\nDataTask paused");
}

TEST(Console, FailureHasHeadingLabelAndText) {
  const ErrorStreamCapture capture;

  console::failure("DataTask: Exception Met!", Poco::NotFoundException("here"));
  console::failure("MainTask: Exception Met!", std::runtime_error("there"), "Exception Info:");

  EXPECT_EQ(capture.text(),
            "\nDataTask: Exception Met!\nException Message:Not found: here"
            "\nMainTask: Exception Met!\nException Info:there");
}

TEST(Console, OneMessageIsOneWrite) {
  const WriteCounter counter;

  console::write("[1]");
  console::line("data sock OK!");
  console::failure("DataTask: Exception Met!", Poco::TimeoutException());

  EXPECT_EQ(counter.writes(), std::vector<std::string>(
                                  {"[1]", "\ndata sock OK!", "\nDataTask: Exception Met!\nException Message:Timeout"}));
}

TEST(Console, ClosedStreamIsNoError) {
  const int saved = dup(STDERR_FILENO);
  close(STDERR_FILENO);

  console::line("nobody hears this");

  dup2(saved, STDERR_FILENO);
  close(saved);
}

TEST(Console, StreamWhoseReaderHasGoneIsNoError) {
  const int saved = dup(STDERR_FILENO);
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  close(ends[0]);
  dup2(ends[1], STDERR_FILENO);
  close(ends[1]);

  console::line("nobody hears this");

  dup2(saved, STDERR_FILENO);
  close(saved);
}

TEST(ErrorStreamChannel, MessageIsOneLineInOneWrite) {
  const WriteCounter counter;

  Poco::Logger::get("Application").information("Connection from 10.0.0.1:4711");

  EXPECT_EQ(counter.writes(), std::vector<std::string>({"Connection from 10.0.0.1:4711\n"}));
}

TEST(ErrorStreamChannel, IsKnownToTheLoggingConfiguration) {
  const ErrorStreamCapture capture;
  Poco::AutoPtr<Poco::Channel> channel = Poco::LoggingFactory::defaultFactory().createChannel("ErrorStreamChannel");

  channel->log(Poco::Message("source", "text", Poco::Message::PRIO_INFORMATION));

  EXPECT_EQ(capture.text(), "text\n");
}

}  // namespace
}  // namespace quendal
