// Sends datagrams on as they are: what live_latency.py compares mien live with. Prints its port.
//
//   mien_relay PORT

#include <arpa/inet.h>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

sockaddr_in LoopbackAt(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const int in = socket(AF_INET, SOCK_DGRAM, 0), out = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in own = LoopbackAt(0);
  const sockaddr_in to = LoopbackAt(static_cast<std::uint16_t>(std::atoi(argv[1])));
  socklen_t size = sizeof own;
  sockaddr* const own_address = std::bit_cast<sockaddr*>(&own);
  if (bind(in, own_address, size) != 0 || getsockname(in, own_address, &size) != 0) return 1;
  if (connect(out, std::bit_cast<const sockaddr*>(&to), sizeof to) != 0) return 1;
  std::printf("%d\n", ntohs(own.sin_port));
  std::fflush(stdout);
  static std::array<char, 65536> packet;
  for (;;) {
    const ssize_t bytes = recv(in, packet.data(), packet.size(), 0);
    if (bytes < 0 || send(out, packet.data(), static_cast<std::size_t>(bytes), 0) < 0) return 1;
  }
}
