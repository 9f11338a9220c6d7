#include "transfer/packet_reader.h"

#include "support/loopback.h"

#include <Poco/Exception.h>
#include <Poco/Net/NetException.h>
#include <Poco/Timespan.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>

namespace quendal {
namespace {

constexpr std::chrono::milliseconds kLong{5000};
constexpr std::chrono::milliseconds kShort{20};

class PacketReaderTest : public testing::Test {
 protected:
  PacketReaderTest() : reader(pair.accepted, {.stop = stopReq, .pause = pauseReq}) {}

  // Reads `count` bytes; what has been read before an exception is lost.
  std::string read(std::size_t count, const Deadline& deadline = Deadline(kLong)) {
    std::string bytes(count, '\0');
    result = reader.readExactly(std::as_writable_bytes(std::span(bytes)), deadline);
    return bytes;
  }

  // What a read that waits for its first byte throws when `request` is raised.
  std::string abandonedBy(std::atomic<bool>& request) {
    wakeUpOften();
    std::thread asking([&] {
      std::this_thread::yield();
      request = true;
    });
    std::string text;
    try {
      read(1);
    } catch (const Poco::IllegalStateException& failure) {
      text = failure.displayText();
    }
    asking.join();
    return text;
  }

  // The wake-ups of a silent connection, sooner than in the service.
  void wakeUpOften() { pair.accepted.setReceiveTimeout(Poco::Timespan(1000)); }

  LoopbackPair pair = connectLoopback();
  std::atomic<bool> stopReq{false};
  std::atomic<bool> pauseReq{false};
  PacketReader reader;
  ReadResult result = ReadResult::kClosed;
};

TEST_F(PacketReaderTest, WakesUpTwiceASecond) {
  EXPECT_EQ(pair.accepted.getReceiveTimeout().totalMilliseconds(), 500);
}

TEST_F(PacketReaderTest, TakesExactlyWhatItIsAskedFor) {
  sendAll(pair.transmitter, "abcdef");

  EXPECT_EQ(read(4), "abcd");
  EXPECT_EQ(result, ReadResult::kComplete);
  EXPECT_EQ(read(2), "ef");
}

TEST_F(PacketReaderTest, NothingAskedIsCompleteAtOnce) {
  EXPECT_EQ(read(0), "");
  EXPECT_EQ(result, ReadResult::kComplete);
}

TEST_F(PacketReaderTest, CompletesShortReads) {
  pair.transmitter.setNoDelay(true);
  const std::string sent(3000, 'x');
  std::thread peer([&] {
    for (std::size_t at = 0; at < sent.size(); at += 100) {
      sendAll(pair.transmitter, sent.substr(at, 100));
      std::this_thread::yield();
    }
  });

  EXPECT_EQ(read(sent.size()), sent);
  EXPECT_EQ(result, ReadResult::kComplete);
  peer.join();
}

TEST_F(PacketReaderTest, CloseBeforeTheLastByteIsClosed) {
  sendAll(pair.transmitter, "abc");
  pair.transmitter.shutdownSend();

  EXPECT_EQ(read(4), std::string("abc\0", 4));
  EXPECT_EQ(result, ReadResult::kClosed);
}

TEST_F(PacketReaderTest, CloseBehindTheLastByteIsComplete) {
  sendAll(pair.transmitter, "abcd");
  pair.transmitter.shutdownSend();

  EXPECT_EQ(read(4), "abcd");
  EXPECT_EQ(result, ReadResult::kComplete);
}

TEST_F(PacketReaderTest, ResetIsAnException) {
  sendAll(pair.transmitter, "abc");
  resetConnection(pair.transmitter);

  EXPECT_THROW(read(4), Poco::Net::ConnectionResetException);
}

TEST_F(PacketReaderTest, SilentPeerMeetsTheDeadline) {
  wakeUpOften();

  EXPECT_THROW(read(1, Deadline(kShort)), Poco::TimeoutException);
}

TEST_F(PacketReaderTest, TricklingPeerMeetsTheDeadlineToo) {
  std::atomic<bool> done{false};
  std::thread peer([&] {
    while (!done) {
      ::send(pair.transmitter.impl()->sockfd(), "x", 1, MSG_DONTWAIT);  // a full buffer must not hold the test
      std::this_thread::yield();
    }
  });
  const auto start = std::chrono::steady_clock::now();

  EXPECT_THROW(read(1000000, Deadline(kShort)), Poco::TimeoutException);

  EXPECT_LT(std::chrono::steady_clock::now() - start, kLong);
  done = true;
  peer.join();
}

TEST_F(PacketReaderTest, FewerBytesThanAskedForAreNotTakenAfterTheDeadline) {
  sendAll(pair.transmitter, "abc");

  EXPECT_THROW(read(4, Deadline(std::chrono::milliseconds(0))), Poco::TimeoutException);
}

// The wait may have been ours: a disk that took its time over what came before.
TEST_F(PacketReaderTest, AllThatIsAskedForIsTakenAlsoAfterTheDeadline) {
  sendAll(pair.transmitter, "abcd");

  EXPECT_EQ(read(4, Deadline(std::chrono::milliseconds(0))), "abcd");
}

TEST_F(PacketReaderTest, DeadlineMayBeMovedOn) {
  Deadline deadline(std::chrono::milliseconds(0));
  ASSERT_TRUE(deadline.hasPassed());

  deadline.extend(kLong);

  EXPECT_FALSE(deadline.hasPassed());
}

TEST_F(PacketReaderTest, StopRequestEndsAReadThatWaits) {
  EXPECT_EQ(abandonedBy(stopReq), "Illegal state: the service is stopping");
}

TEST_F(PacketReaderTest, PauseRequestEndsAReadThatWaits) {
  EXPECT_EQ(abandonedBy(pauseReq), "Illegal state: the service is pausing");
}

TEST_F(PacketReaderTest, PauseRequestEndsAReadThoughThePeerGoesOnSending) {
  sendAll(pair.transmitter, "abcd");
  pauseReq = true;

  EXPECT_THROW(read(4), Poco::IllegalStateException);
}

TEST_F(PacketReaderTest, StopIsNamedWhereTheServicePausesAsWell) {
  stopReq = true;

  EXPECT_EQ(abandonedBy(pauseReq), "Illegal state: the service is stopping");
}

TEST_F(PacketReaderTest, SomeIsWhatHasComeAndZeroIsTheEnd) {
  std::array<std::byte, 16> bytes{};
  sendAll(pair.transmitter, "abc");

  EXPECT_EQ(reader.readSome(bytes, Deadline(kLong)), 3U);
  pair.transmitter.shutdownSend();
  EXPECT_EQ(reader.readSome(bytes, Deadline(kLong)), 0U);
}

}  // namespace
}  // namespace quendal
