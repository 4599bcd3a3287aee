#include "host/live/live_recording.h"

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/formats/marker_csv.h"
#include "host/weights/weight_columns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <limits>
#include <system_error>
#include <unordered_set>

namespace mien {

namespace {

constexpr std::array kHeadColumns = {"HeadYaw", "HeadPitch", "HeadRoll"};
constexpr std::array kEyeColumns = {"LeftEyeYaw", "LeftEyePitch", "RightEyeYaw", "RightEyePitch"};

/// Refuses what a reader would take for something else.
void CheckColumns(const LiveSource& source, const std::string& file) {
  std::unordered_set<std::string> known;
  for (const std::string& name : source.names) {
    const bool is_plain = !name.empty() && name.front() != ' ' && name.back() != ' ' &&
                          std::none_of(name.begin(), name.end(), [](char c) {
                            return static_cast<unsigned char>(c) < 0x20 || c == ',' || c == '"' || c == ';';
                          });
    const std::string lower = ToLower(name);
    const bool is_taken = lower == "frame" || lower == "time" || lower == "timecode" ||
                          (source.kind == LiveKind::Weights && IsAngleColumn(name));
    if (!is_plain || is_taken)
      throw InputError(Code::Lossy, file, "",
                       fmt::format("a table cannot have a column for {}", Quoted(name)),
                       "rename it in the source");
    if (!known.insert(name).second)
      throw InputError(Code::Duplicate, file, "", fmt::format("the source has two of {}", Quoted(name)),
                       "rename one in the source");
  }
}

} // namespace

void LiveRecording::CheckFree(const std::string& place) {
  for (const char* const ending : {".csv", ".out.csv", ".neutral.csv", ".events.csv"})
    if (std::error_code error; std::filesystem::exists(place + ending, error))
      throw InputError(Code::Unwritable, place + ending, "", "a file with this name exists",
                       "choose another place, or move the file");
}

LiveRecording::LiveRecording(const std::string& place, const LiveSource& source,
                             const AnimationLayout& layout, const Take* learned_from)
    : place_(place), source_(source), layout_(layout) {
  CheckColumns(source, place + ".csv");
  CheckFree(place);
  std::optional<RowFile> neutral;
  try {
    in_.emplace(place + ".csv");
    out_.emplace(place + ".out.csv");
    if (!learned_from) return;
    std::ostringstream rows;
    WriteMarkerCsv(*learned_from, rows);
    neutral.emplace(place + ".neutral.csv");
    if (!neutral->Append(rows.view())) throw InputError(*neutral->Fault());
  } catch (const InputError&) {
    for (auto* const file : {&in_, &out_, &neutral})
      if (*file) (*file)->Remove();
    throw;
  }
}

void LiveRecording::Append(RowFile& file, std::string_view rows) {
  if (!file.Append(rows)) fault_ = file.Fault();
}

// The headers, once the first frame is known.
void LiveRecording::Begin(double time_s) {
  first_time_s_ = time_s;
  if (layout_.timecode) // readers take it without a fraction
    layout_.timecode = ParseTimecode(layout_.timecode->At(time_s), layout_.timecode->rate, &fraction_);
  fmt::format_to(std::back_inserter(row_), "frame,time");
  if (source_.kind == LiveKind::Markers) {
    if (layout_.timecode)
      fmt::format_to(std::back_inserter(row_), ",timecode@{}", ToText(layout_.timecode->rate));
    for (const std::string& name : source_.names)
      fmt::format_to(std::back_inserter(row_), ",{0}.x,{0}.y,{0}.z", name);
  } else {
    layout_.timecode.reset(); // a table of weights does not say how fast it counts
    for (const std::string& name : source_.names) fmt::format_to(std::back_inserter(row_), ",{}", name);
    for (const char* const column : kHeadColumns) fmt::format_to(std::back_inserter(row_), ",{}", column);
    for (const char* const column : kEyeColumns) fmt::format_to(std::back_inserter(row_), ",{}", column);
  }
  WriteRow();
  writer_.emplace(layout_,
                  layout_.character.empty() && !layout_.templates.empty() ? WeightKind::Templates
                                                                          : WeightKind::Shapes,
                  out_rows_);
}

void LiveRecording::In(const LiveInput& input, std::int64_t frame, double time_s) {
  if (fault_) return;
  if (!first_time_s_) Begin(time_s);
  fmt::format_to(std::back_inserter(row_), "{},", frame);
  AppendNumber(row_, time_s);
  if (source_.kind == LiveKind::Markers) {
    if (layout_.timecode) {
      row_.push_back(',');
      layout_.timecode->AppendTo(fmt::appender(row_), time_s - *first_time_s_);
    }
    for (std::size_t m = 0; m < source_.names.size(); ++m) {
      const std::optional<Point>& p = input.markers[m];
      for (double Point::*const axis : {&Point::x, &Point::y, &Point::z}) {
        row_.push_back(',');
        if (p) AppendNumber(row_, (*p).*axis);
      }
    }
  } else {
    WriteWeights(input);
  }
  WriteRow();
}

void LiveRecording::WriteWeights(const LiveInput& input) {
  const auto add = [this](double number) {
    row_.push_back(',');
    if (std::isfinite(number)) AppendNumber(row_, number);
  };
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  for (std::size_t i = 0; i < source_.names.size(); ++i) add(input.weights[i]);
  add(input.head ? input.head->yaw : kNone);
  add(input.head ? input.head->pitch : kNone);
  add(input.head ? input.head->roll : kNone);
  for (const std::size_t eye : {0U, 1U}) {
    add(input.eyes ? -(*input.eyes)[eye].yaw : kNone); // the files' yaw is to the right
    add(input.eyes ? (*input.eyes)[eye].pitch : kNone);
  }
}

void LiveRecording::WriteRow() {
  row_.push_back('\n');
  Append(*in_, {row_.data(), row_.size()});
  row_.clear();
}

void LiveRecording::Out(const LiveOutput& output) {
  if (fault_ || !writer_) return;
  writer_->Frame({.number = output.frame,
                  .time = output.time_s,
                  .head = output.head,
                  .weights = output.weights,
                  .shape_weights = output.shapes,
                  .eyes = output.eyes ? &*output.eyes : nullptr,
                  .local_clusters = output.local,
                  .global_clusters = output.global});
  Append(*out_, out_rows_.view());
  out_rows_.str("");
}

void LiveRecording::Event(double time_s, std::string_view label) {
  if (fault_) return;
  constexpr std::size_t kMostBytes = 200;
  fmt::memory_buffer row;
  try {
    if (!events_) {
      events_.emplace(place_ + ".events.csv");
      fmt::format_to(std::back_inserter(row), "time,event\n");
    }
  } catch (const InputError& error) { // the stream does not end for that
    fault_ = error.Problems()[0];
    return;
  }
  AppendNumber(row, time_s);
  std::string text(Beginning(label, kMostBytes));
  std::replace_if(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; },
      ' ');
  fmt::format_to(std::back_inserter(row), ",{}\n", CsvField(text));
  Append(*events_, {row.data(), row.size()});
}

} // namespace mien
