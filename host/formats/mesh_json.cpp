#include "host/formats/mesh_json.h"

#include "host/base/error.h"
#include "host/base/parse_json.h"
#include "host/base/statistics.h"
#include "host/base/text.h"
#include "host/formats/csv_frames.h"
#include "host/formats/input_rate.h"
#include "host/formats/mesh_mirror.h"
#include "host/formats/mesh_times.h"
#include "host/formats/mesh_weights.h"
#include "host/takes/far_positions.h"
#include "host/takes/frame_times.h"
#include "host/takes/reorder_frames.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

namespace mien {
namespace {

using Json = nlohmann::json;

constexpr std::string_view kFaceKeys[] = {"faceLandmarks", "face_landmarks", "multiFaceLandmarks",
                                          "multi_face_landmarks"};
constexpr std::string_view kWeightKeys[] = {"faceBlendshapes", "face_blendshapes", "blendshapes",
                                            "blendShapes"};

template <std::size_t kCount>
bool IsOneOf(std::string_view key, const std::string_view (&keys)[kCount]) {
  return std::find(std::begin(keys), std::end(keys), key) != std::end(keys);
}

// Reads from a text, and shows how far the parser has come: it reads ahead of nothing.
class Cursor {
public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  /// Keeps `at` where the parser is.
  Cursor(const char* first, const char*& at) : here_(first), at_(&at) {}
  reference operator*() const { return *here_; }
  Cursor& operator++() {
    *at_ = ++here_;
    return *this;
  }
  bool operator==(const Cursor& other) const { return here_ == other.here_; }
  bool operator!=(const Cursor& other) const { return here_ != other.here_; }

private:
  const char* here_;
  const char** at_;
};

// The same for a text with bare NaN, as Python writes lost numbers: shows null in its place.
class NanCursor {
public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  NanCursor(std::string_view text, const char*& at) : rest_(text), at_(&at) { LookAtNan(); }
  reference operator*() const { return null_.empty() ? rest_.front() : null_.front(); }
  NanCursor& operator++() {
    if (!null_.empty()) {
      null_.remove_prefix(1);
      if (null_.empty()) GoOn(kNan.size());
      return *this;
    }
    const char c = rest_.front();
    in_string_ = in_string_ != (c == '"' && !is_escaped_);
    is_escaped_ = in_string_ && c == '\\' && !is_escaped_;
    GoOn(1);
    return *this;
  }
  bool operator==(const NanCursor& other) const { return rest_.data() == other.rest_.data(); }
  bool operator!=(const NanCursor& other) const { return !(*this == other); }

  static constexpr std::string_view kNan = "NaN";

private:
  void GoOn(std::size_t count) {
    rest_.remove_prefix(count);
    *at_ = rest_.data();
    LookAtNan();
  }
  void LookAtNan() {
    if (!in_string_ && rest_.starts_with(kNan)) null_ = "null";
  }

  std::string_view rest_;
  std::string_view null_; // the rest of what stands for the NaN that the text has here
  const char** at_;
  bool in_string_ = false, is_escaped_ = false;
};

// When a result was.
struct Moment {
  std::optional<double> number, time;
  std::string time_key;
  int decimals = 0;
};

// A result's moment and the points of its face, which are empty where the face was lost.
struct Result {
  Moment moment;
  std::vector<Point> points;
};

// Takes the parser's events and hands over each result when its object ends.
class ResultParser final : public nlohmann::json_sax<Json> {
public:
  // `add` takes a Result; it may throw.
  ResultParser(std::size_t face, std::function<void(const Result&)> add)
      : face_(face), add_(std::move(add)) {}

  bool HasWeights() const { return has_weights_; }
  bool IsTooDeep() const { return too_deep_; }
  bool IsTooLarge() const { return too_large_; }
  std::size_t MostFaces() const { return most_faces_; }
  void StartDocument() {
    scopes_.clear();
    faces_at_ = 0;
  }

  bool null() override {
    if (!scopes_.empty() && IsFaceKey()) scopes_.back().has_face = true;
    return Number(std::numeric_limits<double>::quiet_NaN(), "");
  }
  bool boolean(bool /*value*/) override { return true; }
  bool number_integer(std::int64_t value) override { return Number(static_cast<double>(value), ""); }
  bool number_unsigned(std::uint64_t value) override { return Number(static_cast<double>(value), ""); }
  bool number_float(double value, const std::string& text) override { return Number(value, text); }
  bool string(std::string& /*value*/) override { return true; }
  bool binary(Json::binary_t& /*value*/) override { return false; } // JSON has none

  bool start_object(std::size_t /*size*/) override { return Open(true); }
  bool key(std::string& value) override {
    if (faces_at_ == 0 && IsOneOf(value, kWeightKeys)) has_weights_ = true;
    scopes_.back().key = std::move(value);
    return true;
  }
  bool end_object() override {
    Scope scope = std::move(scopes_.back());
    scopes_.pop_back();
    if (faces_at_ != 0) {
      if (scope.is_point) AddPoint(scope.value);
      return true;
    }
    const bool is_result = scopes_.empty() || !scopes_.back().is_object;
    if (!scope.has_face) return true;
    if (is_result) {
      add_({std::move(scope.moment), std::move(points_)});
      points_.clear();
      return true;
    }
    Scope& around = scopes_.back();
    around.has_face = true;
    const auto number = around.moment.number ? around.moment.number : scope.moment.number;
    if (!around.moment.time) around.moment = std::move(scope.moment);
    around.moment.number = number;
    return true;
  }
  bool start_array(std::size_t /*size*/) override { return Open(false); }
  bool end_array() override {
    const Scope scope = std::move(scopes_.back());
    scopes_.pop_back();
    if (faces_at_ == 0) return true;
    const std::size_t depth = scopes_.size() + 2 - faces_at_; // 1 for the list of faces
    if (scope.values >= 2)
      AddPoint(scope.value);
    else if (scope.points > 0 || depth == 2)
      EndFace();
    if (depth == 1) faces_at_ = 0;
    return true;
  }
  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& error) override {
    constexpr int kBeyondDouble = 406;
    too_large_ = error.id == kBeyondDouble;
    return false;
  }

private:
  // An object or array that the parser is in.
  struct Scope {
    bool is_object = false;
    std::string key;       // of an object's next member
    Moment moment;         // outside of the faces
    bool has_face = false; // or the object had a member that has
    std::array<double, 3> value{};
    std::size_t values = 0; // an array's numbers
    std::size_t points = 0; // an array's points
    bool is_point = false;  // an object with "x"
  };

  bool IsFaceKey() const {
    return faces_at_ == 0 && scopes_.back().is_object && IsOneOf(scopes_.back().key, kFaceKeys);
  }

  bool Open(bool is_object) {
    if (scopes_.size() == kDeepestJson) {
      too_deep_ = true;
      return false;
    }
    if (!scopes_.empty() && IsFaceKey()) {
      scopes_.back().has_face = true;
      if (!is_object) {
        faces_at_ = scopes_.size() + 1;
        faces_ = 0;
        points_.clear();
        face_points_.clear();
      }
    }
    scopes_.emplace_back().is_object = is_object;
    return true;
  }

  // `text` is the number as written, if it may have decimals.
  bool Number(double value, std::string_view text) {
    if (scopes_.empty()) return true;
    Scope& scope = scopes_.back();
    if (faces_at_ != 0 && scope.is_object) {
      constexpr std::string_view kAxes[] = {"x", "y", "z"};
      for (std::size_t axis = 0; axis < 3; ++axis)
        if (scope.key == kAxes[axis]) {
          scope.value[axis] = value;
          scope.is_point = true;
        }
    } else if (faces_at_ != 0) {
      if (scope.values < 3) scope.value[scope.values] = value;
      ++scope.values;
    } else if (scope.is_object && !std::isnan(value)) {
      if (!scope.moment.number && NamesFrames(scope.key)) {
        scope.moment.number = value;
      } else if (!scope.moment.time && UnitsPerSecond(scope.key)) {
        scope.moment.time = value;
        scope.moment.time_key = scope.key;
        scope.moment.decimals = DecimalsOf(text);
      }
    }
    return true;
  }

  void AddPoint(const std::array<double, 3>& value) {
    ++scopes_.back().points; // a point is in an array, or in an object that is none
    if (faces_ == face_) face_points_.push_back({value[0], value[1], value[2]});
  }

  void EndFace() {
    if (faces_ == face_) points_ = std::move(face_points_);
    face_points_.clear();
    most_faces_ = std::max(most_faces_, ++faces_);
  }

  const std::size_t face_;
  const std::function<void(const Result&)> add_;
  std::vector<Scope> scopes_;
  std::size_t faces_at_ = 0; // the depth of the list of faces that the parser is in; 0 outside
  std::size_t faces_ = 0;    // of this list, so far
  std::size_t most_faces_ = 0;
  std::vector<Point> face_points_; // of the face that is parsed
  std::vector<Point> points_;      // of the result that is parsed
  bool has_weights_ = false, too_deep_ = false, too_large_ = false;
};

// Makes a take of the results.
class ResultReader {
public:
  ResultReader(std::string_view bytes, std::string file, std::optional<std::int64_t> face)
      : bytes_(bytes), file_(std::move(file)),
        has_nan_(bytes.find(NanCursor::kNan) != std::string_view::npos), face_(face) {}

  Take Read(const std::optional<FrameRate>& input_rate) {
    Parse();
    if (moments_.empty()) FailEmpty();
    if (!has_points_) Begin(kMeshPoints);
    far_.AppendTo(take_.notes);
    SetTimes(input_rate);
    return std::move(take_);
  }

private:
  std::string Line() const { return std::to_string(1 + std::count(bytes_.data(), at_, '\n')); }

  // Parses up to the end of the JSON value at at_.
  bool ParseDocument(const char* end) {
    const auto parse = [this](auto first, auto last) {
      return Json::sax_parse(first, last, &parser_, Json::input_format_t::json, false);
    };
    if (!has_nan_) return parse(Cursor(at_, at_), Cursor(end, at_));
    const std::string_view rest(at_, static_cast<std::size_t>(end - at_));
    return parse(NanCursor(rest, at_), NanCursor(rest.substr(rest.size()), at_));
  }

  void Parse() {
    const char* const end = bytes_.data() + bytes_.size();
    at_ = bytes_.data();
    if (bytes_.starts_with("\xEF\xBB\xBF")) at_ += 3;
    while (true) {
      while (at_ != end && (*at_ == ' ' || *at_ == '\t' || *at_ == '\r' || *at_ == '\n')) ++at_;
      if (at_ == end) break;
      parser_.StartDocument();
      if (ParseDocument(end)) continue;
      if (parser_.IsTooDeep())
        throw InputError(Code::Limit, file_, Line(),
                         fmt::format("objects and arrays are nested more than {} deep", kDeepestJson),
                         "write the file with fewer levels");
      if (parser_.IsTooLarge())
        throw InputError(Code::InvalidValue, file_, Line(), "a number is beyond what a double holds",
                         "write a smaller one");
      if (at_ != end || moments_.empty())
        throw InputError(Code::Syntax, file_, Line(), "this is not JSON from here on",
                         "look for a missing comma, quote or bracket just before");
      take_.notes.push_back(
          {Code::Truncated, "line " + Line(), "the file ends inside a result, which is left out"});
      break;
    }
    if (face_ && parser_.MostFaces() > 0 && static_cast<std::size_t>(*face_) >= parser_.MostFaces())
      throw InputError(Code::NotFound, file_, "", fmt::format("there is no face {}", *face_),
                       fmt::format("the results have {}, from 0", Count(parser_.MostFaces(), "face")));
    if (!face_ && parser_.MostFaces() > 1)
      take_.notes.push_back(
          {Code::Ignored, "",
           fmt::format("up to {} faces in a result; read the first (--face 0)", parser_.MostFaces())});
  }

  [[noreturn]] void FailEmpty() const {
    if (parser_.HasWeights()) FailMeshWeights(file_);
    throw InputError(Code::Missing, file_, "", "the JSON has no results with faceLandmarks",
                     "write the tracker's results, or name another take");
  }

  // Once the number of points is known. The frames before were without a face.
  void Begin(std::size_t points) {
    has_points_ = true;
    take_.markers = MeshMarkers(points);
    for (std::size_t i = 0; i < moments_.size(); ++i) take_.AddFrame(0, 0);
  }

  void Add(const Result& result) {
    const std::size_t count = result.points.size();
    if (count > 0 && count != kMeshWithoutIrises && count != kMeshPoints)
      throw InputError(Code::Unsupported, file_, Line(),
                       fmt::format("the face has {}; the face mesh has 468 or 478", Count(count, "landmark")),
                       "write all landmarks of the face");
    if (count > 0 && !has_points_) Begin(count);
    if (count > 0 && count != take_.MarkerCount())
      throw InputError(
          Code::Contradiction, file_, Line(),
          fmt::format("the face has {} landmarks, and those before have {}", count, take_.MarkerCount()),
          "give each recording its own file");
    moments_.push_back(result.moment);
    if (!has_points_) return;
    const std::size_t frame = take_.AddFrame(0, 0);
    for (std::size_t i = 0; i < count; ++i) {
      const Point& p = result.points[i];
      if (IsWithinReach(p)) {
        if (p.x != 0 || p.y != 0 || p.z != 0) take_.Set(frame, i, p);
      } else if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) {
        far_.Add(take_.markers[i], "result", static_cast<std::int64_t>(frame + 1));
      }
    }
  }

  // 1 or 1000 units of the times per second.
  double UnitOfTimes() {
    const std::string& key = moments_[0].time_key;
    if (!EqualIgnoringCase(key, "timestamp") && !EqualIgnoringCase(key, "time"))
      return UnitsPerSecond(key).value_or(1);
    std::vector<double> times, steps;
    for (const Moment& moment : moments_) times.push_back(*moment.time);
    std::sort(times.begin(), times.end());
    for (std::size_t i = 1; i < times.size(); ++i) steps.push_back(times[i] - times[i - 1]);
    constexpr double kLongestStep = 5; // seconds between two frames
    if (steps.empty() || !(Median(steps) > kLongestStep)) return 1;
    take_.notes.push_back(
        {Code::Assumed, "", fmt::format("{} has no unit; taken as milliseconds", Quoted(key))});
    return 1000;
  }

  void SetTimes(const std::optional<FrameRate>& input_rate) {
    const auto count_of = [this](auto member) {
      return static_cast<std::size_t>(std::count_if(
          moments_.begin(), moments_.end(), [member](const Moment& m) { return (m.*member).has_value(); }));
    };
    const std::size_t count = moments_.size(), timed = count_of(&Moment::time);
    if (timed > 0 && timed < count)
      throw InputError(Code::Missing, file_, "", fmt::format("{} of {} results have a time", timed, count),
                       "give each result its time");
    const bool numbered = count_of(&Moment::number) == count &&
                          std::all_of(moments_.begin(), moments_.end(), [](const Moment& m) {
                            constexpr double kMost =
                                1e12; // beyond, the times of two neighbours could be equal
                            return std::trunc(*m.number) == *m.number && std::abs(*m.number) <= kMost;
                          });
    if (timed > 0) RefuseInputRate(input_rate, file_);
    const double units = timed > 0 ? UnitOfTimes() : 1;
    int decimals = 0;
    for (std::size_t i = 0; i < count; ++i) {
      take_.frames[i] =
          numbered ? static_cast<std::int64_t>(*moments_[i].number) : static_cast<std::int64_t>(i + 1);
      take_.times[i] = moments_[i].time.value_or(0) / units;
      decimals = std::max(decimals, moments_[i].decimals + (units == 1 ? 0 : 3));
    }
    Sort(timed > 0);
    const auto not_rising = [](std::int64_t a, std::int64_t b) { return a >= b; };
    if (!numbered ||
        std::adjacent_find(take_.frames.begin(), take_.frames.end(), not_rising) != take_.frames.end())
      std::iota(take_.frames.begin(), take_.frames.end(), std::int64_t{1});
    if (timed > 0) {
      if (const auto fault = SetRateByTimes(take_, decimals, kFastestVideoHz))
        throw InputError(fault->code, file_, "", fault->what, fault->fix);
      NoteUnlikelyUnit(take_, moments_[0].time_key, units);
      return;
    }
    take_.rate = InputRate(input_rate, "no times", take_.notes);
    for (std::size_t i = 0; i < count; ++i)
      take_.times[i] = take_.rate.Seconds(take_.frames[i] - take_.frames[0]);
    NoteMissingFrames(take_);
  }

  // By time, or without times by number.
  void Sort(bool by_time) {
    std::vector<std::size_t> order(take_.FrameCount());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto is_before = [&](std::size_t a, std::size_t b) {
      return by_time ? take_.times[a] < take_.times[b] : take_.frames[a] < take_.frames[b];
    };
    if (!std::is_sorted(order.begin(), order.end(), is_before)) {
      std::stable_sort(order.begin(), order.end(), is_before);
      take_.notes.push_back(
          {Code::Order, "",
           fmt::format("the results are not in order; they are sorted by {}", by_time ? "time" : "frame")});
      ReorderFrames(take_, order);
    }
    for (std::size_t i = 1; i < take_.FrameCount(); ++i)
      if (by_time ? !(take_.times[i] > take_.times[i - 1]) : take_.frames[i] <= take_.frames[i - 1])
        throw InputError(Code::Order, file_, "",
                         by_time ? fmt::format("two results have the time {} s", take_.times[i])
                                 : fmt::format("two results have the frame {}", take_.frames[i]),
                         "give each recording its own file, and times enough decimals");
  }

  const std::string_view bytes_;
  const std::string file_;
  const bool has_nan_;
  const std::optional<std::int64_t> face_;
  const char* at_ = nullptr; // where the parser is
  ResultParser parser_{static_cast<std::size_t>(std::max<std::int64_t>(face_.value_or(0), 0)),
                       [this](const Result& result) { Add(result); }};
  Take take_;
  bool has_points_ = false;
  std::vector<Moment> moments_; // of the results
  FarPositions far_;
};

} // namespace

bool IsMeshJson(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || (bytes[first] != '{' && bytes[first] != '[')) return false;
  constexpr std::size_t kFar = 1 << 20; // a result without its points has less
  const std::string_view beginning = bytes.substr(first, kFar);
  const auto has = [beginning](std::string_view key) {
    return beginning.find(fmt::format("\"{}\"", key)) != std::string_view::npos;
  };
  return std::any_of(std::begin(kFaceKeys), std::end(kFaceKeys), has) ||
         std::any_of(std::begin(kWeightKeys), std::end(kWeightKeys), has);
}

Take ReadMeshJson(std::string_view bytes, const std::string& file, std::optional<std::int64_t> face,
                  const std::optional<FrameRate>& input_rate, const MeshOptions& options) {
  if (face && *face < 0)
    throw InputError(Code::NotFound, file, "", fmt::format("there is no face {}", *face),
                     "the faces of a result are numbered from 0");
  Take take = ResultReader(bytes, file, face).Read(input_rate);
  MeshToMillimetres(take, file, options);
  return take;
}

} // namespace mien
