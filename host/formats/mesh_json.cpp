#include "host/formats/mesh_json.h"

#include "host/base/error.h"
#include "host/base/parse_json.h"
#include "host/base/text.h"
#include "host/formats/json_stream.h"
#include "host/formats/mesh_mirror.h"
#include "host/formats/mesh_weights.h"
#include "host/formats/result_times.h"
#include "host/takes/far_positions.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <iterator>
#include <limits>
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

// A result's moment and the points of its face, which are empty where the face was lost.
struct Result {
  ResultMoment moment;
  std::vector<Point> points;
};

// Takes the parser's events and hands over each result when its object ends.
class ResultParser final : public JsonEvents {
public:
  // `add` takes a Result; it may throw.
  ResultParser(std::size_t face, std::function<void(const Result&)> add)
      : face_(face), add_(std::move(add)) {}

  bool HasWeights() const { return has_weights_; }
  std::size_t MostFaces() const { return most_faces_; }
  void StartDocument() override {
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

private:
  // An object or array that the parser is in.
  struct Scope {
    bool is_object = false;
    std::string key;       // of an object's next member
    ResultMoment moment;   // outside of the faces
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
    if (scopes_.size() == kDeepestJson) return RefuseDepth();
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
      scope.moment.Read(scope.key, value, text);
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
  bool has_weights_ = false;
};

// Makes a take of the results.
class ResultReader {
public:
  ResultReader(std::string_view bytes, std::string file, std::optional<std::int64_t> face)
      : stream_(bytes), file_(std::move(file)), face_(face) {}

  Take Read(const std::optional<FrameRate>& input_rate) {
    Parse();
    if (moments_.empty()) FailEmpty();
    if (!has_points_) Begin(kMeshPoints);
    far_.AppendTo(take_.notes);
    SetResultTimes(take_, moments_, input_rate, file_);
    return std::move(take_);
  }

private:
  std::string Line() const { return std::to_string(stream_.Line()); }

  void Parse() {
    stream_.Parse(parser_, file_, take_.notes, [this] { return !moments_.empty(); });
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

  JsonStream stream_;
  const std::string file_;
  const std::optional<std::int64_t> face_;
  ResultParser parser_{static_cast<std::size_t>(std::max<std::int64_t>(face_.value_or(0), 0)),
                       [this](const Result& result) { Add(result); }};
  Take take_;
  bool has_points_ = false;
  std::vector<ResultMoment> moments_; // of the results
  FarPositions far_;
};

// Whether the bytes are JSON and one of the keys is in its first megabyte.
template <std::size_t kCount>
bool HasKey(std::string_view bytes, const std::string_view (&keys)[kCount]) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || (bytes[first] != '{' && bytes[first] != '[')) return false;
  constexpr std::size_t kFar = 1 << 20; // a result without its points has less
  const std::string_view beginning = bytes.substr(first, kFar);
  return std::any_of(std::begin(keys), std::end(keys), [beginning](std::string_view key) {
    return beginning.find(fmt::format("\"{}\"", key)) != std::string_view::npos;
  });
}

} // namespace

bool IsMeshJson(std::string_view bytes) { return HasFacePoints(bytes) || HasKey(bytes, kWeightKeys); }

bool HasFacePoints(std::string_view bytes) { return HasKey(bytes, kFaceKeys); }

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
