#include "host/weights/regular_animation_file.h"

#include "host/base/long_vector.h"
#include "host/base/parse_json.h"
#include "host/base/rotation.h"
#include "host/weights/weight_names.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace mien {
namespace {

/// A list of numbers, or of rows of them.
struct NumberList {
  bool has_rows = true;
  bool is_there = false;
  std::size_t rows = 0, width = 0; // all rows have the same; of a list without rows 1
  LongVector<double> values;
};

/// Collects the lists and texts of an animation file. An event that returns false ends the parser: the file is
/// not regular.
class AnimationEvents : public nlohmann::json_sax<nlohmann::json> {
public:
  AnimationEvents() {
    for (const char* const place : {"/frames", "/times"}) lists_[place].has_rows = false;
    for (const char* const place : {"/templates/weights", "/shapes/weights", "/eyes/left", "/eyes/right",
                                    "/head/rotation", "/head/translation"})
      lists_.try_emplace(place);
  }

  /// Null where the file does not have it.
  NumberList* List(const char* place) {
    NumberList& list = lists_.at(place);
    return list.is_there ? &list : nullptr;
  }
  /// Whether the root has this member.
  bool Has(const char* key) const { return root_keys_.contains(key); }
  /// Whether the head, a member of the root, has this one.
  bool HeadHas(const char* key) const { return head_keys_.contains(key); }
  const std::vector<std::string>* Names(const char* place) const {
    const auto found = names_.find(place);
    return found == names_.end() ? nullptr : &found->second;
  }

  std::optional<double> rate;
  std::optional<std::string> timecode;

  bool null() override { return !list_ && !names_list_; }
  bool boolean(bool /*value*/) override { return !list_ && !names_list_; }
  bool number_integer(number_integer_t value) override { return Number(static_cast<double>(value)); }
  bool number_unsigned(number_unsigned_t value) override { return Number(static_cast<double>(value)); }
  bool number_float(number_float_t value, const string_t& /*text*/) override { return Number(value); }
  bool binary(binary_t& /*value*/) override { return false; }
  bool parse_error(std::size_t /*at*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& /*error*/) override {
    return false;
  }

  bool string(string_t& value) override {
    if (list_) return false;
    if (names_list_ && open_.size() == names_depth_) {
      names_list_->push_back(value);
      return true;
    }
    if (open_.size() == 1 && open_[0].is_object && open_[0].key == "timecode") timecode = value;
    return true;
  }

  bool start_object(std::size_t /*elements*/) override {
    if (list_ || (names_list_ && open_.size() == names_depth_)) return false;
    return Open(true);
  }

  bool key(string_t& key) override {
    if (!open_.back().keys.insert(key).second) return false; // twice
    if (open_.size() == 1) root_keys_.insert(key);
    if (open_.size() == 2 && open_[0].is_object && open_[0].key == "head") head_keys_.insert(key);
    open_.back().key = key;
    return true;
  }

  bool end_object() override {
    open_.pop_back();
    return true;
  }

  bool start_array(std::size_t /*elements*/) override {
    if (names_list_ && open_.size() == names_depth_) return false;
    if (list_) { // a row
      if (!list_->has_rows || open_.size() != list_depth_) return false;
      row_width_ = 0;
      return Open(false);
    }
    const std::string place = Place();
    if (!Open(false)) return false;
    if (const auto found = lists_.find(place); found != lists_.end()) {
      list_ = &found->second;
      list_->is_there = true;
      list_depth_ = open_.size();
    } else if (place == "/templates/names" || place == "/shapes/names") {
      names_list_ = &names_[place];
      names_depth_ = open_.size();
    }
    return true;
  }

  bool end_array() override {
    if (list_ && open_.size() > list_depth_) {
      if (list_->rows > 0 && list_->width != row_width_) return false;
      list_->width = row_width_;
      ++list_->rows;
    } else if (list_) {
      list_ = nullptr;
    } else if (names_list_ && open_.size() == names_depth_) {
      names_list_ = nullptr;
    }
    open_.pop_back();
    return true;
  }

private:
  struct Container {
    bool is_object;
    std::string key; // the last
    std::unordered_set<std::string> keys;
  };

  bool Open(bool is_object) {
    if (open_.size() >= kDeepestJson) return false;
    open_.push_back({is_object, {}, {}});
    return true;
  }

  /// The pointer of what begins, if it is a member of the root or of a member of it.
  std::string Place() const {
    if (open_.empty() || open_.size() > 2) return "";
    std::string place;
    for (const Container& container : open_) {
      if (!container.is_object) return "";
      place += '/' + container.key;
    }
    return place;
  }

  bool Number(double value) {
    constexpr double kMost = 1e15; // as in ReadAnimationFile
    if (names_list_ && open_.size() == names_depth_) return false;
    if (list_) {
      if (!(std::fabs(value) < kMost) || (open_.size() > list_depth_) != list_->has_rows) return false;
      list_->values.push_back(value);
      if (list_->has_rows)
        ++row_width_;
      else
        ++list_->rows;
    } else if (open_.size() == 1 && open_[0].is_object && open_[0].key == "rate") {
      rate = value;
    }
    return true;
  }

  std::map<std::string, NumberList> lists_; // by their pointers
  std::map<std::string, std::vector<std::string>> names_;
  std::unordered_set<std::string> root_keys_, head_keys_;
  std::vector<Container> open_;
  NumberList* list_ = nullptr;                     // that is open
  std::vector<std::string>* names_list_ = nullptr; // likewise
  std::size_t list_depth_ = 0, names_depth_ = 0, row_width_ = 0;
};

bool AreNames(const std::vector<std::string>& names) {
  constexpr std::size_t kLongest = 255;
  std::unordered_set<std::string_view> known;
  for (const std::string& name : names)
    if (name.empty() || name.size() > kLongest || name.find('\0') != std::string::npos ||
        !known.insert(name).second)
      return false;
  return true;
}

/// Makes the take of what was collected; each step returns false where something is wrong.
class RegularAnimation {
public:
  explicit RegularAnimation(AnimationEvents& events) : events_(events) {}

  bool Read() {
    return ReadClock() && ReadWeights() && (!events_.Has("eyes") || ReadEyes()) &&
           (!events_.Has("head") || ReadHead());
  }

  WeightTake take;

private:
  /// A list with a row of this width per frame.
  NumberList* Rows(const char* place, std::size_t width) {
    NumberList* const list = events_.List(place);
    return list && list->rows == take.frames.size() && list->width == width ? list : nullptr;
  }

  bool ReadClock() {
    NumberList *const frames = events_.List("/frames"), *const times = events_.List("/times");
    if (!frames || !times || frames->rows == 0 || times->rows != frames->rows) return false;
    for (const double frame : frames->values) take.frames.push_back(static_cast<std::int64_t>(frame));
    take.times = std::move(times->values);
    for (std::size_t f = 1; f < take.times.size(); ++f)
      if (!(take.times[f] > take.times[f - 1]) || take.frames[f] <= take.frames[f - 1]) return false;
    const std::optional<FrameRate> rate = events_.rate ? FrameRateOf(*events_.rate) : std::nullopt;
    if (!rate || rate->numerator == 0) return false;
    take.rate = *rate;
    if (events_.timecode) take.timecode = ParseTimecode(*events_.timecode, take.rate);
    return true;
  }

  bool ReadWeights() {
    const bool shapes = events_.Has("shapes");
    const std::vector<std::string>* const written =
        events_.Names(shapes ? "/shapes/names" : "/templates/names");
    if (!written || !AreNames(*written)) return false;
    NumberList* const rows = Rows(shapes ? "/shapes/weights" : "/templates/weights", written->size());
    if (!rows) return false;
    WeightNames names;
    std::vector<std::optional<std::size_t>> columns;
    for (const std::string& name : *written) columns.push_back(names.Add(name));
    take.names = names.Names();
    take.weights.resize(take.frames.size() * take.names.size());
    for (std::size_t f = 0; f < take.frames.size(); ++f) {
      const auto from = rows->values.subspan(f * columns.size(), columns.size());
      const auto to = take.weights.subspan(f * take.names.size(), take.names.size());
      for (std::size_t i = 0; i < columns.size(); ++i)
        if (columns[i]) to[*columns[i]] = from[i];
    }
    names.AppendTo(take.notes);
    return true;
  }

  bool ReadEyes() {
    NumberList *const left = Rows("/eyes/left", 2), *const right = Rows("/eyes/right", 2);
    if (!left || !right) return false;
    take.eyes.resize(take.frames.size());
    for (const auto& [eye, list] : {std::pair(0U, left), std::pair(1U, right)})
      for (std::size_t f = 0; f < take.frames.size(); ++f)
        take.eyes[f][eye] = {.yaw = list->values[2 * f], .pitch = list->values[2 * f + 1]};
    return true;
  }

  bool ReadHead() {
    NumberList* const rotations = Rows("/head/rotation", 4);
    if (!rotations) return false;
    for (std::size_t f = 0; f < take.frames.size(); ++f) {
      const auto q = rotations->values.subspan(4 * f, 4);
      if (q[0] == 0 && q[1] == 0 && q[2] == 0 && q[3] == 0) return false;
      take.heads.push_back(AnglesOf(RotationOf(VgeQuaternion(q[0], q[1], q[2], q[3]))));
    }
    if (!events_.List("/head/translation")) return !events_.HeadHas("translation");
    NumberList* const places = Rows("/head/translation", 3);
    if (!places) return false;
    for (std::size_t f = 0; f < take.frames.size(); ++f) {
      const auto p = places->values.subspan(3 * f, 3);
      take.head_places.push_back({p[0], p[1], p[2]});
    }
    return true;
  }

  AnimationEvents& events_;
};

} // namespace

std::optional<WeightTake> ReadRegularAnimationFile(std::string_view bytes) {
  AnimationEvents events;
  if (!nlohmann::json::sax_parse(bytes.begin(), bytes.end(), &events)) return std::nullopt;
  RegularAnimation animation(events);
  if (!animation.Read()) return std::nullopt;
  return std::move(animation.take);
}

} // namespace mien
