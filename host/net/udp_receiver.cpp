#include "host/net/udp_receiver.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/net/asio_context.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <asio/ip/udp.hpp>
#include <cstring>
#include <ctime>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <utility>
#include <vector>

namespace mien {

namespace {

constexpr std::size_t kLargestDatagram = 65536;
constexpr int kSystemQueue = 1 << 20; // bytes that may wait in the system; it grants what it permits

void SwitchOn(int socket, int option) {
  const int on = 1;
  // If the system refuses, packets have the times at which they are read, and drops are not counted.
  static_cast<void>(setsockopt(socket, SOL_SOCKET, option, &on, sizeof on));
}

/// Converts an arrival from the system's real-time clock to the loop's. An age of a second or more means that
/// the clock was set; it counts as 0.
EventLoop::Clock::time_point OnLoopClock(const timespec& arrived) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::chrono::nanoseconds age = std::chrono::seconds(now.tv_sec - arrived.tv_sec) +
                                       std::chrono::nanoseconds(now.tv_nsec - arrived.tv_nsec);
  const bool is_sane = age >= std::chrono::nanoseconds::zero() && age < std::chrono::seconds(1);
  return EventLoop::Clock::now() - (is_sane ? age : std::chrono::nanoseconds::zero());
}

} // namespace

struct UdpReceiver::Socket : std::enable_shared_from_this<Socket> {
  Socket(asio::io_context& io, OnPacket callback) : socket(io), on_packet(std::move(callback)) {}

  void Wait() {
    socket.async_wait(asio::ip::udp::socket::wait_read,
                      [self = shared_from_this()](const std::error_code& error) {
                        if (error || !self->socket.is_open()) return;
                        self->ReadAll();
                        if (self->socket.is_open()) self->Wait();
                      });
  }

  /// All that has arrived, but not more than a batch: timers and other sockets have their turn.
  void ReadAll() {
    constexpr int kBatch = 64;
    for (int i = 0; i < kBatch && socket.is_open() && ReadOne(); ++i) {}
  }

  bool ReadOne() {
    iovec part = {buffer.data(), buffer.size()};
    alignas(cmsghdr) std::array<char, 256> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(socket.native_handle(), &message, MSG_DONTWAIT);
    if (size < 0) return errno == EINTR || errno == ECONNREFUSED;
    auto arrived = EventLoop::Clock::now();
    for (cmsghdr* c = CMSG_FIRSTHDR(&message); c; c = CMSG_NXTHDR(&message, c)) {
      if (c->cmsg_level != SOL_SOCKET) continue;
      if (c->cmsg_type == SCM_TIMESTAMPNS) {
        timespec time{};
        std::memcpy(&time, CMSG_DATA(c), sizeof time);
        arrived = OnLoopClock(time);
      } else if (c->cmsg_type == SO_RXQ_OVFL) {
        std::uint32_t total = 0; // since the socket was opened, and it wraps
        std::memcpy(&total, CMSG_DATA(c), sizeof total);
        dropped += total - static_cast<std::uint32_t>(dropped);
      }
    }
    on_packet({buffer.data(), static_cast<std::size_t>(size)}, arrived);
    return true;
  }

  asio::ip::udp::socket socket;
  const OnPacket on_packet;
  std::vector<char> buffer = std::vector<char>(kLargestDatagram);
  std::uint64_t dropped = 0;
};

UdpReceiver::UdpReceiver(EventLoop& loop, const std::string& address, std::uint16_t port, OnPacket on_packet)
    : socket_(std::make_shared<Socket>(loop.Asio().io, std::move(on_packet))) {
  std::error_code error;
  const asio::ip::address where = asio::ip::make_address(address, error);
  if (error)
    throw InputError(Code::Usage, "", "", Quoted(address) + " is not an address",
                     "write an address of this machine as a number, such as 127.0.0.1, or 0.0.0.0 for all");
  const asio::ip::udp::endpoint endpoint(where, port);
  socket_->socket.open(endpoint.protocol(), error);
  if (!error) socket_->socket.bind(endpoint, error);
  if (error)
    throw InputError(Code::Unreadable, "", "",
                     fmt::format("cannot listen on {} port {}: {}", address, port, error.message()),
                     error == std::errc::address_in_use
                         ? "stop the program that uses the port, or choose another port"
                         : "choose another port, or an address of this machine");
  socket_->socket.set_option(asio::socket_base::receive_buffer_size(kSystemQueue), error);
  SwitchOn(socket_->socket.native_handle(), SO_TIMESTAMPNS);
  SwitchOn(socket_->socket.native_handle(), SO_RXQ_OVFL);
  socket_->Wait();
}

UdpReceiver::~UdpReceiver() {
  std::error_code ignored;
  socket_->socket.close(ignored);
}

std::uint16_t UdpReceiver::Port() const { return socket_->socket.local_endpoint().port(); }

std::uint64_t UdpReceiver::Dropped() const { return socket_->dropped; }

} // namespace mien
