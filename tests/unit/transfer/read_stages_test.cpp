#include "transfer/read_stages.h"

#include "base/flags.h"
#include "support/error_stream_capture.h"
#include "support/loopback.h"

#include <Poco/Net/StreamSocketImpl.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <new>
#include <string>
#include <vector>

namespace quendal {
namespace {

constexpr std::chrono::milliseconds kLong{5000};
const std::string kReset = "\nException Message:Connection reset by peer";

// What a stage has to say and to return, written out once more as those who read the logs know it.
struct Row {
  const ReadStage& stage;
  std::string where;    // as its close begins
  std::string thrower;  // as its exception begins
  unsigned closedCode;
  unsigned exceptionCode;
  bool saysClosedAfterException;
};

const std::vector<Row> kRows = {
    {kHeaderLengthStage, "DataProcHeader<pos:0>", "DataProcHeader<pos:0>:", 259, 259, true},
    {kHeaderStage, "DataProcHeader<pos:1>", "DataProcHeader<pos:1>:", 515, 513, false},
    {kCommandStatusLengthStage, "DataRxCmdStatus<pos:0>", "DataRxCmdStatus<pos:0>::", 515, 515, true},
    {kCommandStatusStage, "DataRxCmdStatus<pos:1>", "DataRxCmdStatus<pos:1>::", 771, 769, false},
    {kFileHeadStage, "DataRxFileElement<pos:0>", "DataRxFileElement<pos:0>::", 3, 3, true},
    {kFileNameStage, "DataRxFileElement<pos:1>", "DataRxFileElement<pos:1>::", 259, 257, false},
    {kDataLengthStage, "DataRxFileElement<pos:2>", "DataRxFileElement<pos:2>::", 3, 1, false}};

std::string closedLine(const Row& row) {
  return "\n" + row.where + ":read 0 bytes, seems that socket was closed,disconnecting...";
}

std::string exceptionLines(const Row& row, const std::string& message) {
  return "\n" + row.thrower + " Exception Met!" + message + (row.saysClosedAfterException ? closedLine(row) : "");
}

// A connection for whose data there is no memory.
class OutOfMemory : public Poco::Net::StreamSocketImpl {
 public:
  int receiveBytes(void* /*buffer*/, int /*length*/, int /*flags*/) override { throw std::bad_alloc(); }

 protected:
  ~OutOfMemory() override = default;
};

// One stage that reads four bytes of a connection, without a reactor.
class ReadStages : public testing::Test {
 protected:
  struct Result {
    unsigned code;
    std::string messages;
    std::string bytes;
  };

  template <typename PlayedPeer>
  Result read(const ReadStage& stage, PlayedPeer play) {
    LoopbackPair pair = connectLoopback();
    PacketReader reader(pair.accepted, {.stop = stop, .pause = pause});
    play(pair.transmitter);
    const ErrorStreamCapture capture;
    std::string bytes(4, '-');
    const unsigned code = readStage(reader, stage, std::as_writable_bytes(std::span(bytes)), Deadline(kLong));
    return {.code = code, .messages = capture.text(), .bytes = bytes};
  }

  std::atomic<bool> stop{false};
  std::atomic<bool> pause{false};
};

TEST_F(ReadStages, BytesThatComeAreReadWithoutAWord) {
  for (const Row& row : kRows) {
    const Result result = read(row.stage, [](Poco::Net::StreamSocket& peer) { sendAll(peer, "abcdef"); });

    EXPECT_EQ(result.code, 0U) << row.where;
    EXPECT_EQ(result.messages, "") << row.where;
    EXPECT_EQ(result.bytes, "abcd") << row.where;
  }
}

TEST_F(ReadStages, CloseBeforeTheLastByteHasItsMessageAndCode) {
  for (const Row& row : kRows) {
    for (const char* sent : {"", "abc"}) {
      const Result result = read(row.stage, [sent](Poco::Net::StreamSocket& peer) {
        sendAll(peer, sent);
        peer.shutdownSend();
      });

      EXPECT_EQ(result.code, row.closedCode) << row.where;
      EXPECT_EQ(result.messages, closedLine(row));
    }
  }
}

TEST_F(ReadStages, ResetHasItsMessagesAndCode) {
  for (const Row& row : kRows) {
    const Result result = read(row.stage, [](Poco::Net::StreamSocket& peer) {
      sendAll(peer, "abc");
      resetConnection(peer);
    });

    EXPECT_EQ(result.code, row.exceptionCode) << row.where;
    EXPECT_EQ(result.messages, exceptionLines(row, kReset));
  }
}

TEST_F(ReadStages, StopOfTheServiceIsAnExceptionOfTheStage) {
  stop = true;
  for (const Row& row : kRows) {
    const Result result = read(row.stage, [](const Poco::Net::StreamSocket& /*peer*/) {});

    EXPECT_EQ(result.code, row.exceptionCode) << row.where;
    EXPECT_EQ(result.messages, exceptionLines(row, "\nException Message:Illegal state: the service is stopping"));
  }
}

TEST(ReadStage, ExceptionThatIsNotTheLibrarysIsAFailedReadToo) {
  const ErrorStreamCapture capture;
  Poco::Net::StreamSocket socket(Poco::Net::IPAddress::IPv4);
  const Flag no = false;
  PacketReader reader(socket, {.stop = no, .pause = no});
  socket = Poco::Net::StreamSocket(new OutOfMemory);
  std::array<std::byte, 4> bytes{};

  EXPECT_EQ(readStage(reader, kHeaderStage, bytes, Deadline(kElementTimeout)), 513U);

  EXPECT_EQ(capture.text(), "\nDataProcHeader<pos:1>: Exception Met!\nException Message:std::bad_alloc");
}

}  // namespace
}  // namespace quendal
