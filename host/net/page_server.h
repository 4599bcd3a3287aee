#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace mien {

/// Serves one page to browsers, and server-sent events that update it. It has its own threads; its functions
/// may be called from any thread, and never wait for a browser.
///
/// A browser that is too slow misses events. Only requests that address this machine by number or as
/// "localhost" are answered, so another site cannot read the page by pointing its own name here.
class PageServer {
public:
  static constexpr std::size_t kMostReaders = 6; ///< browsers that get events; further ones are refused

  /// `address` is one of this machine's, as a number; port 0 is any that is free. Throws InputError if it cannot
  /// listen there.
  PageServer(const std::string& address, std::uint16_t port);
  ~PageServer();
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  std::uint16_t Port() const; ///< the one that it listens on

  /// Replaces the page. `page(events)` returns its text; `events` is the path of its events. Browsers that
  /// show the previous page get the event "layout".
  void SetPage(const std::function<std::string(const std::string& events)>& page);

  /// Sends an event to all browsers. `data` has no line breaks.
  void Send(std::string_view event, std::string_view data);

  std::size_t Readers() const; ///< browsers that get events now

private:
  struct Server;
  std::unique_ptr<Server> server_;
};

} // namespace mien
