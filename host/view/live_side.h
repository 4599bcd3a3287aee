#pragma once

#include "host/animation/animation.h"
#include "host/animation/head_binding.h"
#include "host/base/point.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"
#include "host/view/view_page.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// What is known about a stream's face before its first frame.
struct LiveSideSetup {
  std::string name;
  AnimationLayout layout; ///< of the frames; its neutral head is where the markers are seen from
  bool has_head = true;   ///< whether the stream shows how the head moves
  bool has_eyes = false;  ///< whether it shows where the eyes look
  const Character* character = nullptr;      ///< of the layout; null without one. Must outlive the side
  std::optional<Glb> onto;                   ///< the head that shows the frames; the built-in one without
  HeadNodes nodes;                           ///< of `onto`
  std::optional<ViewHead::Place> place;      ///< of the head among the markers
  std::vector<std::string> markers;          ///< names
  std::vector<std::string> parts;            ///< as ViewMarkers::parts (size: markers, or 0)
  std::vector<std::optional<Point>> neutral; ///< as ViewMarkers::neutral (size: markers, or 0)
};

/// A face of a stream on a page: first the page without values, then one frame at a time.
class LiveSide {
public:
  /// Throws InputError as AnimateHead does.
  explicit LiveSide(LiveSideSetup setup);

  /// The side in a page of this many frames. Refers to the LiveSide.
  ViewSide InPage(std::size_t frames) const;

  /// The data of an event "frame" (LiveFrame in viewer/src/data/contract.ts), in one line. `markers` are in
  /// millimetres where the layout's neutral head is (size: markers of the setup, or 0).
  std::string FrameEvent(std::size_t side, std::string_view clock, const AnimationFrame& frame,
                         std::span<const std::optional<Point>> markers);

private:
  LiveSideSetup setup_;
  std::unique_ptr<Animation> now_; ///< the newest frame
  AnimatedHead head_;              ///< of it
};

/// The page of these sides, which shows the last `frames` / `rate` seconds of a stream and gets it from `events`, a
/// path on its own server.
ViewPage LivePageOf(std::string title, const FrameRate& rate, std::size_t frames, std::string events,
                    std::span<const LiveSide* const> sides);

} // namespace mien
