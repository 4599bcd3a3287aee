#pragma once

#include "host/live/live_input.h"
#include "host/takes/timecode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace mien {

/// The times of a face's frames, from 0 at the first frame: from the source's timecode, its own time, or the
/// arrival. The first frame determines which; a later frame without it gets its time from its arrival.
///
/// A timecode that falls by more than half a day has passed midnight. A source's time that falls by more than
/// a second, rises by more than a minute, or is late in ten frames in a row was reset: times continue from
/// the last one by the time between the arrivals.
class LiveClock {
public:
  /// What a frame's time says about it.
  enum class Order {
    Next,      ///< later than the previous frame
    Duplicate, ///< the same, to a microsecond
    Late,      ///< below it
    Unusable   ///< not a finite number
  };

  /// Takes a frame. After Order::Next its time is Time().
  Order Take(const LiveInput& input);

  /// Inserts a frame without a packet, at a time later than Time().
  void Insert(double time_s);

  double Time() const { return time_s_; }

  /// The timecode at time 0, without its fraction; empty if the first frame had none.
  const std::optional<Timecode>& First() const { return first_; }

  /// The usual time between two frames, in seconds; 0 before the second.
  double Interval() const { return interval_s_; }

  /// Frames that seem to be missing, judged by their usual interval.
  std::size_t Dropped() const { return dropped_; }
  std::size_t Restarts() const { return restarts_; } ///< of the source's time

  /// How much faster the source's clock is than that of the arrivals, in parts per million. Empty in the
  /// first ten seconds, and if times are arrivals.
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
