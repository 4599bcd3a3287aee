#pragma once

#include "host/live/live_input.h"
#include "host/takes/timecode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace mien {

/// The times of a face's frames: the source's timecode, or else its own time, or else the arrival, from 0 at
/// the first frame. What the first frame has decides; a later frame without it is timed by its arrival.
///
/// A timecode that falls by more than half a day has passed midnight. A source's time that falls by more than
/// a second, rises by more than a minute, or is behind in ten frames one after another was set anew: times go
/// on from the last one by what passed between the arrivals.
class LiveClock {
public:
  /// What a frame's time says about it.
  enum class Order {
    Next,      ///< above that of the frame before
    Duplicate, ///< the same, to a microsecond
    Late,      ///< below it
    Unusable   ///< no finite number
  };

  /// Takes a frame. After Order::Next its time is Time().
  Order Take(const LiveInput& input);

  /// A frame that no packet brought, at a time above Time().
  void Insert(double time_s);

  double Time() const { return time_s_; }

  /// The timecode at time 0, as far as the first frame had one; without its fraction.
  const std::optional<Timecode>& First() const { return first_; }

  /// The usual time between two frames, in seconds; 0 before the second.
  double Interval() const { return interval_s_; }

  /// Frames that seem to be missing, by the times between frames and their usual interval.
  std::size_t Dropped() const { return dropped_; }
  std::size_t Restarts() const { return restarts_; } ///< of the source's time

  /// By how many parts in a million the source's clock is faster than the arrivals'. Nothing in the first ten
  /// seconds, and where times are arrivals.
  std::optional<double> Drift_ppm() const;

private:
  enum class Kind { None, Timecode, Source, Arrival };

  std::optional<double> SourceTime(const LiveInput& input);
  void Restart(double source_s, double arrival_s);
  void Advance(double time_s);
  void MeasureDrift(double source_s, double arrival_s);

  Kind kind_ = Kind::None;
  std::optional<Timecode> first_;
  double first_fraction_ = 0;
  double first_source_s_ = 0; // the source's time at time 0
  std::int64_t last_count_ = 0, days_ = 0;
  double time_s_ = -1, arrival_s_ = 0;
  std::size_t late_in_a_row_ = 0, gaps_in_a_row_ = 0;
  double interval_s_ = 0;
  std::size_t dropped_ = 0, restarts_ = 0;

  // The least delay of a packet in the first window and in the last whole one.
  struct Window {
    double start_s = 0, least_s = 0, at_s = 0;
  };
  std::optional<Window> first_window_, last_window_, window_;
};

} // namespace mien
