#include "host/c_interface/take.h"

#include "host/c_interface/array.h"
#include "host/c_interface/call.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/struct_size.h"
#include "host/files/mapped_file.h"
#include "host/jobs/read_points.h"

#include <filesystem>
#include <limits>
#include <memory>
#include <string_view>

using namespace mien;

namespace {

/// Nothing reads the position of a gap; a caller that sees all positions as one array needs to see it.
Take MarkGaps(Take take) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    const Take::Row row = take.RowOf(f);
    for (std::size_t m = 0; m < row.positions.size(); ++m)
      if (row.origins[m] == Origin::None) row.positions[m] = {kNaN, kNaN, kNaN};
  }
  return take;
}

std::string TimecodeOf(const Take& take) { return take.timecode ? ToText(*take.timecode) : ""; }

} // namespace

mien_take::mien_take(Take read)
    : shared(std::make_shared<const Take>(MarkGaps(std::move(read)))), take(*shared),
      timecode(TimecodeOf(take)), notes(take.notes, take.file) {}

mien_take* mien_take_read(const char* path, const mien_settings* settings, const mien_progress* progress,
                          mien_messages** errors) {
  return CallNew(errors, [&] {
    const std::string file = RequirePath(path, "path");
    const ReadOptions& reading = SettingsOf(settings, MIEN_STEP_READ).reading;
    const JobProgress report = ProgressOf(progress);
    // A file that is shortened during the read must not crash the program.
    const MappedFile bytes(file, ReadingProgress(report), FileAccess::Copy);
    return std::make_unique<mien_take>(ReadPoints(bytes.Bytes(), file, reading));
  });
}

mien_take* mien_take_read_memory(const void* bytes, size_t size, const char* name,
                                 const mien_settings* settings, const mien_progress* progress,
                                 mien_messages** errors) {
  return CallNew(errors, [&] {
    if (!bytes && size > 0) throw UsageError("bytes", "this is NULL");
    const std::string file = RequireText(name, "name");
    const ReadOptions& reading = SettingsOf(settings, MIEN_STEP_READ).reading;
    if (const JobProgress report = ProgressOf(progress)) report(JobStage::Reading, 0, 0);
    return std::make_unique<mien_take>(ReadPoints({static_cast<const char*>(bytes), size}, file, reading));
  });
}

mien_status mien_take_get_array(const mien_take* take, mien_take_array which, mien_array* array,
                                mien_messages** errors) {
  return CallStatus(errors, [&] {
    const Take& t = Require(take, "take").take;
    const std::size_t frames = t.FrameCount(), markers = t.MarkerCount();
    switch (which) {
    case MIEN_TAKE_POSITIONS: {
      const Point* const points = t.Positions();
      return GiveArray(
          array, ViewOf(points ? &points->x : nullptr,
                        {{frames, markers * sizeof(Point)}, {markers, sizeof(Point)}, {3, sizeof(double)}}));
    }
    case MIEN_TAKE_ORIGINS:
      return GiveArray(array, ViewOf(reinterpret_cast<const std::uint8_t*>(t.Origins()),
                                     {{frames, markers}, {markers, 1}}));
    case MIEN_TAKE_FRAMES:
      return GiveArray(array, ViewOf(t.frames.data(), {{frames, sizeof(std::int64_t)}}));
    case MIEN_TAKE_TIMES:
      return GiveArray(array, ViewOf(t.times.data(), {{frames, sizeof(double)}}));
    }
    throw UsageError("which", "there is no such array");
  });
}

const char* mien_take_get_text(const mien_take* take, mien_take_text which) {
  if (!Known(take)) return nullptr;
  switch (which) {
  case MIEN_TAKE_NAME:
    return take->take.name.c_str();
  case MIEN_TAKE_FILE:
    return take->take.file.c_str();
  case MIEN_TAKE_FORMAT:
    return take->take.format.c_str();
  case MIEN_TAKE_FLAVOUR:
    return take->take.flavour.c_str();
  case MIEN_TAKE_UNIT:
    return take->take.unit.c_str();
  case MIEN_TAKE_AXES:
    return take->take.axes.c_str();
  case MIEN_TAKE_TIMECODE:
    return take->timecode.c_str();
  }
  return nullptr;
}

size_t mien_take_frame_count(const mien_take* take) { return Known(take) ? take->take.FrameCount() : 0; }
size_t mien_take_marker_count(const mien_take* take) { return Known(take) ? take->take.MarkerCount() : 0; }

const char* mien_take_marker(const mien_take* take, size_t index) {
  return Known(take) && index < take->take.MarkerCount() ? take->take.markers[index].c_str() : nullptr;
}

mien_status mien_take_rate(const mien_take* take, int64_t* numerator, int64_t* denominator) {
  if (!Known(take) || !numerator || !denominator) return MIEN_USAGE;
  *numerator = take->take.rate.numerator;
  *denominator = take->take.rate.denominator;
  return MIEN_OK;
}

size_t mien_take_event_count(const mien_take* take) { return Known(take) ? take->take.events.size() : 0; }

mien_status mien_take_event(const mien_take* take, size_t index, mien_event* event) {
  if (!Known(take) || index >= take->take.events.size()) return MIEN_USAGE;
  const TakeEvent& own = take->take.events[index];
  return FillStruct(
      event, mien_event{.struct_size = sizeof(mien_event), .time = own.time, .label = own.label.c_str()});
}

const mien_messages* mien_take_notes(const mien_take* take) { return Known(take) ? &take->notes : nullptr; }

mien_status mien_take_free(mien_take* take) { return Free(take); }
