#include "base/console.h"

#include "base/descriptor.h"
#include "base/error_stream_channel.h"
#include "support/error_stream_capture.h"
#include "support/redirected_error_stream.h"

#include <Poco/Exception.h>
#include <Poco/Logger.h>
#include <Poco/LoggingFactory.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace quendal {
namespace {

// An error stream that keeps its writes apart: each comes out as it went in.
class WriteCounter {
 public:
  WriteCounter() {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
    redirected_.emplace(ends[0]);
    close(ends[0]);
    reading_.reset(ends[1]);
  }

  std::vector<std::string> writes() const {
    std::vector<std::string> result;
    std::array<char, 1024> write{};
    for (;;) {
      const ssize_t count = recv(reading_.get(), write.data(), write.size(), MSG_DONTWAIT);
      if (count <= 0) {
        return result;
      }
      result.emplace_back(write.data(), static_cast<std::size_t>(count));
    }
  }

 private:
  Descriptor reading_;
  std::optional<RedirectedErrorStream> redirected_;
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
  const RedirectedErrorStream closed(-1);

  console::line("nobody hears this");
}

TEST(Console, FileOnADiskIsWrittenToWhereItsOtherUsersAre) {
  const ErrorStreamCapture capture;

  console::write("one");
  ASSERT_EQ(write(STDERR_FILENO, "two", 3), 3);
  console::write("three");

  EXPECT_EQ(capture.text(), "onetwothree");
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

TEST(Console, MessageForWhichThereIsNoMemoryIsCountedAsDroppedAndThrowsNothing) {
  const ErrorStreamCapture capture;
  const volatile std::size_t more = std::string().max_size() + 1;

  console::write("first");
  console::line(std::string_view("", more));
  console::write("next");

  EXPECT_EQ(capture.text(), "first\nError stream: 1 message droppednext");
}

}  // namespace
}  // namespace quendal
