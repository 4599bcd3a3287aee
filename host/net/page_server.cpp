#include "host/net/page_server.h"

#include "host/base/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <httplib.h>
#include <mutex>
#include <thread>
#include <utility>

namespace mien {

namespace {

using namespace std::chrono_literals;

/// How many events a slow browser may lag behind: four seconds at 60 frames per second.
constexpr std::size_t kMostEvents = 256;

/// The longest time between two writes, the second of which fails once the browser is gone.
constexpr auto kHeartbeat = 1s;

/// Whether a request's Host is an address or "localhost". Any other name may belong to another site and resolve to
/// this machine.
bool IsThisMachine(std::string_view host) {
  if (host.starts_with('[')) return true;
  host = host.substr(0, host.find(':'));
  return host == "localhost" ||
         (!host.empty() && host.find_first_not_of("0123456789.") == std::string_view::npos);
}

/// Leaves out SO_REUSEPORT, which the library sets by default: with it, a second server could listen on the same
/// port and would get some of the requests.
void SetSocketOptions(socket_t socket) {
  const int yes = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

} // namespace

struct PageServer::Server {
  httplib::Server http;
  std::uint16_t port = 0;

  mutable std::mutex mutex;
  std::condition_variable more;
  std::shared_ptr<const std::string> page = std::make_shared<std::string>();
  std::uint64_t version = 0, newest_version = 0; // of the page, and of the last one that was begun
  std::deque<std::string> events;
  std::uint64_t first = 0; // the number of the first of them
  std::size_t readers = 0;
  bool has_ended = false;

  std::thread thread; // last: it uses everything above

  void Answer() {
    http.set_pre_routing_handler([](const httplib::Request& request, httplib::Response& response) {
      if (IsThisMachine(request.get_header_value("Host"))) return httplib::Server::HandlerResponse::Unhandled;
      response.status = 403;
      response.set_content("open this page by its numeric address, or as localhost\n", "text/plain");
      return httplib::Server::HandlerResponse::Handled;
    });
    http.Get("/", [this](const httplib::Request&, httplib::Response& response) {
      std::shared_ptr<const std::string> text;
      {
        const std::lock_guard lock(mutex);
        text = page;
      }
      response.set_header("Cache-Control", "no-store");
      response.set_content(*text, "text/html; charset=utf-8");
    });
    http.Get("/events", [this](const httplib::Request& request, httplib::Response& response) {
      Stream(request.get_param_value("page"), response);
    });
  }

  void Stream(const std::string& of_page, httplib::Response& response) {
    std::uint64_t next = 0;
    std::string text = ":\n\n"; // the answer begins at once
    {
      const std::lock_guard lock(mutex);
      if (readers == kMostReaders) {
        response.status = 503;
        return;
      }
      ++readers;
      next = first + events.size();
      if (of_page != fmt::format("{}", version)) text += "event: layout\ndata: {}\n\n";
    }
    response.set_header("Cache-Control", "no-store");
    response.set_chunked_content_provider(
        "text/event-stream",
        [this, next, text = std::move(text)](std::size_t, httplib::DataSink& sink) mutable {
          if (text.empty()) {
            std::unique_lock lock(mutex);
            more.wait_for(lock, kHeartbeat, [&] { return has_ended || next < first + events.size(); });
            if (has_ended) return false;
            next = std::max(next, first);
            for (; next < first + events.size(); ++next) text += events[next - first];
            if (text.empty()) text = ":\n\n";
          }
          const bool is_taken = sink.write(text.data(), text.size());
          text.clear();
          return is_taken;
        },
        [this](bool) {
          const std::lock_guard lock(mutex);
          --readers;
        });
  }

  /// The mutex is locked.
  void Add(std::string event) {
    events.push_back(std::move(event));
    if (events.size() > kMostEvents) events.pop_front(), ++first;
  }
};

PageServer::PageServer(const std::string& address, std::uint16_t port) : server_(std::make_unique<Server>()) {
  httplib::Server& http = server_->http;
  http.set_socket_options(SetSocketOptions);
  http.set_payload_max_length(1024); // requests have no body
  // A thread for each browser's events, and some for the pages.
  http.new_task_queue = [] { return new httplib::ThreadPool(kMostReaders + 2); };
  server_->Answer();
  const int bound =
      port == 0 ? http.bind_to_any_port(address) : (http.bind_to_port(address, port) ? int{port} : -1);
  if (bound <= 0)
    throw InputError(Code::Unreadable, fmt::format("{} port {}", address, port), "",
                     "a page cannot be served there",
                     "is the port in use by another program? Choose another; 0 stands for any free port");
  server_->port = static_cast<std::uint16_t>(bound);
  server_->thread = std::thread([this] { server_->http.listen_after_bind(); });
  while (!server_->http.is_running()) std::this_thread::sleep_for(1ms); // before it runs it cannot be stopped
}

PageServer::~PageServer() {
  {
    const std::lock_guard lock(server_->mutex);
    server_->has_ended = true;
  }
  server_->more.notify_all();
  server_->http.stop();
  server_->thread.join();
}

std::uint16_t PageServer::Port() const { return server_->port; }

void PageServer::SetPage(const std::function<std::string(const std::string&)>& page) {
  std::uint64_t version = 0;
  {
    const std::lock_guard lock(server_->mutex);
    version = ++server_->newest_version;
  }
  auto text = std::make_shared<const std::string>(page(fmt::format("events?page={}", version)));
  {
    const std::lock_guard lock(server_->mutex);
    server_->page = std::move(text);
    server_->version = version;
    // What follows is not for pages before this one.
    server_->first += server_->events.size();
    server_->events.clear();
    server_->Add("event: layout\ndata: {}\n\n");
  }
  server_->more.notify_all();
}

void PageServer::Send(std::string_view event, std::string_view data) {
  {
    const std::lock_guard lock(server_->mutex);
    server_->Add(fmt::format("event: {}\ndata: {}\n\n", event, data));
  }
  server_->more.notify_all();
}

std::size_t PageServer::Readers() const {
  const std::lock_guard lock(server_->mutex);
  return server_->readers;
}

} // namespace mien
