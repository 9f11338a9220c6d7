// A whole connection's bytes, cut into pieces in different ways: what comes of them does not depend on the cuts.

#include "base/error_stream_channel.h"
#include "base/shared_state.h"
#include "fuzz/require.h"
#include "fuzz/working_directory.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/temporary_folder.h"
#include "transfer/data_service_handler.h"
#include "transfer/transfer_state.h"

#include <Poco/AutoPtr.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocketImpl.h>
#include <Poco/Util/Application.h>

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quendal {
namespace {

namespace fs = std::filesystem;
using fuzz::require;

constexpr std::size_t kWhole = SIZE_MAX;

// A connection whose bytes come in pieces of the given sizes, over and over, and then end. It receives at
// once, so that the pieces are what is read, and not what two threads happen to make of them.
class CutStream : public Poco::Net::StreamSocketImpl {
 public:
  CutStream(std::string_view bytes, std::span<const std::size_t> sizes, DataReactor*& reactor)
      : StreamSocketImpl(realSocket()), bytes_(bytes), sizes_(sizes), left_(sizes_.front()), reactor_(reactor) {}

  int receiveBytes(void* buffer, int length, int /*flags*/) override {
    reactor_->close();  // only now is the packet being read; a handler that fails need not wait for DataTask
    const std::size_t count = std::min({static_cast<std::size_t>(length), left_, bytes_.size()});
    std::memcpy(buffer, bytes_.data(), count);
    bytes_.remove_prefix(count);
    left_ -= count;
    if (left_ == 0) {
      next_ = (next_ + 1) % sizes_.size();
      left_ = sizes_[next_];
    }
    return static_cast<int>(count);
  }

  Poco::Net::SocketAddress peerAddress() override { return {"192.168.77.1", 4711}; }

 protected:
  ~CutStream() override = default;

 private:
  // For the reactor and the socket's options.
  static int realSocket() {
    std::array<int, 2> ends{};
    require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0, "there is a socket");
    ::close(ends[1]);
    return ends[0];
  }

  std::string_view bytes_;
  std::span<const std::size_t> sizes_;
  std::size_t next_ = 0;
  std::size_t left_;
  DataReactor*& reactor_;
};

// Everything that a connection leaves behind: console, commands and waits, files.
struct Outcome {
  std::string messages;
  std::vector<std::string> events;
  std::vector<std::string> files;

  bool operator==(const Outcome&) const = default;
};

std::vector<std::string> filesBelow(const std::string& folder) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    files.push_back(entry.path().string() + (entry.is_regular_file() ? "=" + readFile(entry.path()) : ""));
  }
  std::ranges::sort(files);
  return files;
}

// A display's folders, empty.
const std::string& freshFolders() {
  static const TemporaryFolder kFolder;
  const std::string& root = kFolder.path();
  for (const char* name : {"/bin", "/Target", "/Dest"}) {
    fs::remove_all(root + name);
    fs::create_directory(root + name);
  }
  fs::create_directory(root + "/Target/d");
  fs::remove(root + "/LogZipTmp.dat");
  fs::current_path(root + "/bin");
  shared::targetRootDir = root + "/Target";
  shared::tempDestDir = root + "/Dest";
  return root;
}

// Packet after packet, as the reactor would call for them, until one fails or the connection ends.
Outcome receive(std::string_view bytes, std::span<const std::size_t> sizes) {
  const fuzz::WorkingDirectory directory;
  const std::string& root = freshFolders();
  fake::reset();
  fake::setNow(Poco::Timestamp(0));
  shared::dontCareMode = false;
  shared::dataReinitReq = false;
  const ErrorStreamCapture capture;
  DataReactor* current = nullptr;
  const Poco::Net::StreamSocket socket(new CutStream(bytes, sizes, current));
  while (!shared::dataReinitReq) {
    DataReactor reactor;
    current = &reactor;
    DataServiceHandler handler(socket, reactor);
    handler.onReadable();
  }
  return {.messages = capture.text(), .events = fake::events(), .files = filesBelow(root)};
}

// The first byte says how many sizes of pieces follow it, the stream comes behind them.
void check(std::span<const std::uint8_t> input) {
  if (input.empty()) {
    return;
  }
  const std::size_t count = std::min<std::size_t>(input[0] % 16, input.size() - 1);
  std::vector<std::size_t> sizes;
  for (const std::uint8_t size : input.subspan(1, count)) {
    sizes.push_back(std::size_t{size} + 1);
  }
  const auto rest = input.subspan(1 + count);
  const std::string_view bytes(reinterpret_cast<const char*>(rest.data()), rest.size());

  const Outcome whole = receive(bytes, std::array{kWhole});

  require(receive(bytes, std::array{std::size_t{1}}) == whole, "single bytes are the same stream");
  if (!sizes.empty()) {
    require(receive(bytes, sizes) == whole, "any other pieces are the same stream");
  }
  require(whole.messages.find("Err RC:") != std::string::npos, "each stream ends in a code");
}

}  // namespace
}  // namespace quendal

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Poco::AutoPtr<Poco::Util::Application> kApplication = [] {
    quendal::ErrorStreamChannel::install();
    return new Poco::Util::Application;
  }();
  quendal::check({data, size});
  return 0;
}
