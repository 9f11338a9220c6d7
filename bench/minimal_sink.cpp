// The peer of the transfer benchmark: receives one connection into one file and does nothing else.
//
// Reads of 1024 bytes as the service makes them, written through a large buffer; no packets, no
// checks. Usage: minimal_sink PORT FILE

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t kReadSize = 1024;
constexpr std::size_t kWriteBufferSize = 1U << 20U;

int acceptOne(in_port_t port) {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  const int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(listener, 1) != 0) {
    std::perror("minimal_sink");
    return -1;
  }
  std::puts("listening");
  std::fflush(stdout);
  const int connection = accept(listener, nullptr, nullptr);
  close(listener);
  return connection;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: minimal_sink PORT FILE\n", stderr);
    return EXIT_FAILURE;
  }
  const int connection = acceptOne(static_cast<in_port_t>(std::strtoul(argv[1], nullptr, 10)));
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(argv[2], "wb"), &std::fclose);
  if (connection < 0 || file == nullptr) {
    return EXIT_FAILURE;
  }
  std::vector<char> writeBuffer(kWriteBufferSize);
  std::setvbuf(file.get(), writeBuffer.data(), _IOFBF, writeBuffer.size());

  std::array<char, kReadSize> buffer{};
  ssize_t count = 0;
  while ((count = recv(connection, buffer.data(), buffer.size(), 0)) > 0) {
    std::fwrite(buffer.data(), 1, static_cast<std::size_t>(count), file.get());
  }
  std::fflush(file.get());
  close(connection);
  return count == 0 && std::ferror(file.get()) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
