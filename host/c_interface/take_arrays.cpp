#include "host/c_interface/array_clock.h"
#include "host/c_interface/call.h"
#include "host/c_interface/struct_size.h"
#include "host/c_interface/take.h"
#include "host/takes/far_positions.h"

#include <cmath>

using namespace mien;

namespace {

void SetPositions(const mien_take_arrays& arrays, Take& take) {
  const auto or_else = [](std::ptrdiff_t stride, std::size_t consecutive) {
    return stride != 0 ? stride : static_cast<std::ptrdiff_t>(consecutive);
  };
  const std::ptrdiff_t axis = or_else(arrays.axis_stride, sizeof(double)),
                       marker = or_else(arrays.marker_stride, 3 * sizeof(double)),
                       frame = or_else(arrays.frame_stride, 3 * sizeof(double) * arrays.marker_count);
  FarPositions far;
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const std::ptrdiff_t at =
          static_cast<std::ptrdiff_t>(f) * frame + static_cast<std::ptrdiff_t>(m) * marker;
      const Point place = {DoubleAt(arrays.positions, at), DoubleAt(arrays.positions, at + axis),
                           DoubleAt(arrays.positions, at + 2 * axis)};
      if (IsWithinReach(place))
        take.Set(f, m, place);
      else if (!std::isnan(place.x) && !std::isnan(place.y) && !std::isnan(place.z))
        far.Add(take.markers[m], "frame", take.frames[f]);
    }
  far.AppendTo(take.notes);
}

} // namespace

mien_take* mien_take_from_arrays(const mien_take_arrays* arrays, mien_messages** errors) {
  return CallNew(errors, [&] {
    const mien_take_arrays known = ReadStruct(arrays, "arrays");
    if (!known.positions) throw UsageError("positions", "this is NULL");
    RequireSize(known.frame_count, known.marker_count, "marker_count");
    Take take = TakeWithClock({.name = known.name,
                               .frames = known.frame_count,
                               .rate_numerator = known.rate_numerator,
                               .rate_denominator = known.rate_denominator,
                               .frame_numbers = known.frame_numbers,
                               .times = known.times,
                               .timecode = known.timecode},
                              NamesOf(known.markers, known.marker_count, "markers"), "take");
    SetPositions(known, take);
    return std::make_unique<mien_take>(std::move(take));
  });
}
