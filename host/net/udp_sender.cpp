#include "host/net/udp_sender.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/net/asio_context.h"

#include <fmt/format.h>

#include <asio/buffer.hpp>
#include <asio/ip/udp.hpp>
#include <string>
#include <system_error>

namespace mien {

struct UdpSender::Socket {
  explicit Socket(asio::io_context& io) : socket(io) {}

  asio::ip::udp::socket socket;
  asio::ip::udp::endpoint to;
};

UdpSender::UdpSender(EventLoop& loop, const std::string& host, std::uint16_t port)
    : socket_(std::make_unique<Socket>(loop.Asio().io)) {
  std::error_code error;
  asio::ip::udp::resolver resolver(loop.Asio().io);
  const auto found =
      resolver.resolve(host, std::to_string(port), asio::ip::resolver_base::numeric_service, error);
  if (error || found.empty())
    throw InputError(Code::NotFound, "", "", fmt::format("there is no host {}", Quoted(host)),
                     "write its name or its address, such as 127.0.0.1");
  socket_->to = found.begin()->endpoint();
  socket_->socket.open(socket_->to.protocol(), error);
  if (!error) socket_->socket.non_blocking(true, error);
  if (error)
    throw InputError(Code::Unwritable, "", "",
                     fmt::format("cannot send to {}: {}", Quoted(host), error.message()),
                     "check the network");
}

UdpSender::~UdpSender() = default;

void UdpSender::Send(std::string_view packet) {
  std::error_code error;
  socket_->socket.send_to(asio::buffer(packet.data(), packet.size()), socket_->to, 0, error);
  if (error) ++dropped_;
}

} // namespace mien
