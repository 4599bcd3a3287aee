#pragma once

#include "host/live/live_input.h"
#include "host/live/live_output.h"
#include "host/live/live_session.h"
#include "host/net/page_server.h"
#include "host/view/live_side.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// A page in a browser that shows faces of a stream as they are solved: markers, head, curves.
class PageSink {
public:
  static constexpr std::size_t kMostFaces = 2; ///< side by side

  /// Serves the page at this address. Throws InputError if it cannot, or if mien was built without the page.
  PageSink(const std::string& address, std::uint16_t port, std::string title);

  std::uint16_t Port() const { return server_.Port(); }

  /// Adds a face, or updates one whose names or neutral face have changed. Returns false if there is no room
  /// for it. `name` is its name on the page.
  bool Show(const LiveSession& session, std::size_t face, const LiveSource& source, const std::string& name);

  /// Sends a frame of a face; `markers` are the positions from its source (may be empty). At most 60 frames
  /// per second are sent, and none while no browser is connected.
  void Send(const LiveOutput& output, std::span<const std::optional<Point>> markers);

  /// Sends the summary and the facts that the page shows.
  void SendStatus(const std::string& summary, const std::vector<ViewFacts>& facts);

private:
  struct Shown {
    std::size_t face = 0; // in the session
    std::unique_ptr<LiveSide> side;
    bool has_markers = false;
    double last_sent_s = -1;
  };

  void ServePage();

  PageServer server_;
  std::string title_;
  std::vector<Shown> shown_;
};

} // namespace mien
