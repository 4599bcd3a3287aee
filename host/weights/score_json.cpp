#include "host/weights/score_json.h"

#include "host/base/parse_json.h"
#include "host/base/text.h"
#include "host/formats/json_stream.h"
#include "host/formats/result_times.h"
#include "host/takes/take.h"
#include "host/weights/result_pose.h"
#include "host/weights/score_list.h"
#include "host/weights/weight_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace mien {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// In small letters, without underscores.
constexpr std::string_view kWeightKeys[] = {"faceblendshapes", "blendshapes"};
constexpr std::string_view kNameKeys[] = {"categoryname", "name", "k"};
constexpr std::string_view kScoreKeys[] = {"score", "value", "weight", "v"};

std::string Folded(std::string_view key) {
  std::string folded = ToLower(key);
  std::erase(folded, '_');
  return folded;
}

template <std::size_t kCount>
bool IsOneOf(std::string_view key, const std::string_view (&keys)[kCount]) {
  return std::find(std::begin(keys), std::end(keys), key) != std::end(keys);
}

using NamedScore = std::pair<std::string, double>;

// Takes the parser's events and hands over each result when its object ends.
class ScoreParser final : public JsonEvents {
public:
  using Add = std::function<void(const ResultMoment&, const ResultPose&, const std::vector<NamedScore>&)>;

  ScoreParser(std::size_t face, Add add) : face_(face), add_(std::move(add)) {}

  std::size_t MostFaces() const { return most_faces_; }

  /// Weights without a name that the last result with any has.
  std::size_t Unnamed() const { return unnamed_; }

  void StartDocument() override {
    scopes_.clear();
    weights_at_ = 0;
    matrices_at_ = 0;
  }

  bool null() override {
    if (!scopes_.empty() && IsWeightKey()) scopes_.back().has_weights = true;
    return Number(kNone, "");
  }
  bool boolean(bool value) override {
    if (!value && weights_at_ == 0 && !scopes_.empty() && Folded(scopes_.back().key) == "facefound")
      scopes_.back().has_no_face = true;
    return true;
  }
  bool number_integer(std::int64_t value) override { return Number(static_cast<double>(value), ""); }
  bool number_unsigned(std::uint64_t value) override { return Number(static_cast<double>(value), ""); }
  bool number_float(double value, const std::string& text) override { return Number(value, text); }
  bool string(std::string& value) override {
    if (weights_at_ != 0 && scopes_.back().is_object && IsOneOf(Folded(scopes_.back().key), kNameKeys))
      scopes_.back().name = value;
    return true;
  }

  bool start_object(std::size_t /*size*/) override { return Open(true); }
  bool start_array(std::size_t /*size*/) override { return Open(false); }
  bool key(std::string& value) override {
    scopes_.back().key = std::move(value);
    return true;
  }
  bool end_array() override { return Close(); }
  bool end_object() override { return Close(); }

private:
  // An object or array that the parser is in.
  struct Scope {
    bool is_object = false;
    std::string key;          // of an object's next member
    ResultMoment moment;      // outside of the weights
    ResultPose pose;          // the same
    bool has_weights = false; // or the object had a member that has
    bool has_no_face = false;
    std::size_t elements = 0; // of an array, objects and arrays so far
    std::string name;         // of a weight
    std::optional<double> score;
  };

  bool IsWeightKey() const {
    return weights_at_ == 0 && scopes_.back().is_object && IsOneOf(Folded(scopes_.back().key), kWeightKeys);
  }

  bool Open(bool is_object) {
    if (scopes_.size() == kDeepestJson) return RefuseDepth();
    if (!scopes_.empty()) {
      ++scopes_.back().elements;
      if (IsWeightKey()) {
        scopes_.back().has_weights = true;
        weights_at_ = scopes_.size() + 1;
        scores_.clear();
        faces_ = 0;
        unnamed_now_ = 0;
      } else if (IsMatrixKeyNow()) {
        matrices_at_ = scopes_.size() + 1;
        matrices_.clear();
        in_rows_ = false;
      }
    }
    scopes_.emplace_back().is_object = is_object;
    return true;
  }

  bool Number(double value, std::string_view text) {
    if (scopes_.empty()) return true;
    if (matrices_at_ != 0) return AddElement(value);
    Scope& scope = scopes_.back();
    if (!scope.is_object) {
      if (weights_at_ != 0 && !std::isnan(value)) ++unnamed_now_;
      return true;
    }
    if (weights_at_ == 0) {
      if (!std::isnan(value)) scope.moment.Read(scope.key, value, text);
      if (Scope* const around = Around(); around && scope.key.size() == 1)
        around->pose.Read(Folded(around->key), Folded(scope.key), value);
    } else if (IsOneOf(Folded(scope.key), kScoreKeys)) {
      scope.score = value;
    } else if (scopes_.size() == weights_at_) { // {"jawOpen": 0.5}
      AddScore(scope.key, value, 0);
    }
    return true;
  }

  bool Close() {
    Scope scope = std::move(scopes_.back());
    scopes_.pop_back();
    if (weights_at_ != 0) {
      if (scope.score && !scope.name.empty()) AddScore(scope.name, *scope.score, Face());
      if (scope.score && scope.name.empty()) ++unnamed_now_;
      if (scopes_.size() + 1 == weights_at_) {
        weights_at_ = 0;
        most_faces_ = std::max(most_faces_, faces_);
        if (unnamed_now_ > 0) unnamed_ = unnamed_now_;
      }
      return true;
    }
    if (matrices_at_ != 0) {
      if (scopes_.size() + 1 == matrices_at_) EndMatrices();
      return true;
    }
    if (!scope.has_weights) return true;
    if (scope.has_no_face) {
      scores_.clear();
      scope.pose = {};
    }
    if (scopes_.empty() || !scopes_.back().is_object) {
      add_(scope.moment, scope.pose, scores_);
      scores_.clear();
      return true;
    }
    Scope& around = scopes_.back();
    around.has_weights = true;
    const auto number = around.moment.number ? around.moment.number : scope.moment.number;
    if (!around.moment.time) around.moment = std::move(scope.moment);
    around.moment.number = number;
    if (around.pose.IsEmpty()) around.pose = std::move(scope.pose);
    return true;
  }

  // The object that the current object is a member of; null where there is none.
  Scope* Around() {
    const std::size_t depth = scopes_.size();
    return depth > 1 && scopes_[depth - 2].is_object ? &scopes_[depth - 2] : nullptr;
  }

  bool IsMatrixKeyNow() const {
    return weights_at_ == 0 && matrices_at_ == 0 && scopes_.back().is_object &&
           IsMatrixKey(Folded(scopes_.back().key));
  }

  // Of a matrix: {"data": [..]}, [..] or [[..], ..] for each face, or one of them without a list around it.
  bool AddElement(double value) {
    const Scope& scope = scopes_.back();
    const bool counts = !scope.is_object || scope.key.find_first_not_of("0123456789") == std::string::npos;
    if (!counts) return true;                  // "rows": 4
    const std::size_t list = matrices_at_ - 1; // its place among scopes_
    const std::size_t face =
        scopes_.size() > matrices_at_ && !scopes_[list].is_object ? scopes_[list].elements - 1 : 0;
    if (face >= matrices_.size()) matrices_.resize(face + 1);
    matrices_[face].push_back(value);
    in_rows_ = scopes_.size() == matrices_at_ + 2 && !scopes_[matrices_at_].is_object;
    return true;
  }

  void EndMatrices() {
    matrices_at_ = 0;
    constexpr std::size_t kRows = 4;
    if (matrices_.size() == kRows && matrices_[0].size() == kRows) { // a single one, in rows
      for (std::size_t row = 1; row < kRows; ++row)
        matrices_[0].insert(matrices_[0].end(), matrices_[row].begin(), matrices_[row].end());
      in_rows_ = true;
    }
    if (face_ >= matrices_.size()) return;
    scopes_.back().pose.matrix = std::move(matrices_[face_]);
    scopes_.back().pose.in_rows = in_rows_;
  }

  // Of the weight that has just ended: the list has weights, or faces that have them.
  std::size_t Face() const {
    const std::size_t list = weights_at_ - 1; // its place among scopes_
    const bool has_faces = scopes_.size() > weights_at_ && !scopes_[list].is_object;
    return has_faces ? scopes_[list].elements - 1 : 0;
  }

  void AddScore(const std::string& name, double score, std::size_t face) {
    faces_ = std::max(faces_, face + 1);
    if (face == face_) scores_.emplace_back(name, score);
  }

  const std::size_t face_;
  const Add add_;
  std::vector<Scope> scopes_;
  std::size_t weights_at_ = 0; // the depth of the weights that the parser is in; 0 outside
  std::size_t faces_ = 0, most_faces_ = 0;
  std::size_t unnamed_now_ = 0, unnamed_ = 0;
  std::size_t matrices_at_ = 0;               // the same as weights_at_
  std::vector<std::vector<double>> matrices_; // of each face, the elements
  bool in_rows_ = false;
  std::vector<NamedScore> scores_; // of the result that is parsed
};

// Whether a key that ends here is one of weights.
bool EndsInWeightKey(std::string_view text) {
  if (!text.ends_with('s') && !text.ends_with('S')) return false;
  const std::size_t start = text.rfind('"');
  return start != std::string_view::npos && IsOneOf(Folded(text.substr(start + 1)), kWeightKeys);
}

} // namespace

bool IsScoreJson(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || (bytes[first] != '{' && bytes[first] != '[')) return false;
  // A key may be anywhere: the points of a thousand frames without a face's weights may come before it.
  for (std::size_t quote = bytes.find('"', first); quote != std::string_view::npos;
       quote = bytes.find('"', quote + 1)) {
    const std::size_t behind = bytes.find_first_not_of(" \t\r\n", quote + 1);
    if (behind != std::string_view::npos && bytes[behind] == ':' && EndsInWeightKey(bytes.substr(0, quote)))
      return true;
  }
  return false;
}

WeightTake ReadScoreJson(std::string_view bytes, const std::string& file, std::optional<std::int64_t> face,
                         const std::optional<FrameRate>& input_rate) {
  if (face && *face < 0)
    throw InputError(Code::NotFound, file, "", fmt::format("there is no face {}", *face),
                     "the faces of a result are numbered from 0");
  WeightTake take;
  Take clock; // without markers
  ScoreList list;
  std::vector<ResultMoment> moments;
  std::vector<ResultPose> poses;
  ScoreParser parser(
      static_cast<std::size_t>(face.value_or(0)),
      [&](const ResultMoment& moment, const ResultPose& pose, const std::vector<NamedScore>& scores) {
        const std::size_t frame = clock.AddFrame(0, 0);
        moments.push_back(moment);
        poses.push_back(pose);
        for (const NamedScore& score : scores) list.Add(frame, score.first, score.second);
      });
  JsonStream(bytes).Parse(parser, file, take.notes, [&] { return !moments.empty(); });
  if (moments.empty())
    throw InputError(Code::Missing, file, "", "the JSON has no results with blendshapes",
                     "write the tracker's results, or name another file");
  if (face && parser.MostFaces() > 0 && static_cast<std::size_t>(*face) >= parser.MostFaces())
    throw InputError(Code::NotFound, file, "", fmt::format("there is no face {}", *face),
                     fmt::format("the results have {}, from 0", Count(parser.MostFaces(), "face")));
  if (!face && parser.MostFaces() > 1)
    take.notes.push_back(
        {Code::Ignored, "",
         fmt::format("up to {} faces in a result; read the first (--face 0)", parser.MostFaces())});
  const std::vector<std::size_t> order = SetResultTimes(clock, moments, input_rate, file);
  take.SetClock(std::move(clock));
  list.Finish(order, take);
  if (take.names.empty() && parser.Unnamed() > 0) FailUnnamed(file, parser.Unnamed());
  SetPoses(poses, order, take);
  return take;
}

} // namespace mien
