#include "host/weights/animation_file.h"

#include "host/base/json_file.h"
#include "host/base/rotation.h"
#include "host/weights/regular_animation_file.h"
#include "host/weights/weight_names.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>

namespace mien {
namespace {

using Json = JsonFile::Json;
using Pointer = JsonFile::Pointer;

class Reader {
public:
  Reader(std::string_view bytes, const std::string& file) : file_(bytes, file) {}

  WeightTake Read() {
    const Json& root = file_.Root();
    const auto frames = Rows("frames", root);
    const auto times = Rows("times", root);
    file_.ThrowMistakes();
    for (std::size_t f = 0; f < frames->size(); ++f) {
      take_.frames.push_back(static_cast<std::int64_t>(Number(Pointer("/frames") / f, (*frames)[f])));
      if (times->size() == frames->size()) take_.times.push_back(Number(Pointer("/times") / f, (*times)[f]));
    }
    CheckOrder();
    ReadRate(root);
    file_.ThrowMistakes();
    const char* const key = root.contains("shapes") ? "shapes" : "templates";
    if (const Json* const block = Object(Pointer(), root, key)) ReadWeights(Pointer() / key, *block);
    if (root.contains("eyes")) ReadEyes();
    if (root.contains("head")) ReadHead();
    file_.ThrowMistakes();
    return std::move(take_);
  }

private:
  const Json* Object(const Pointer& place, const Json& around, const char* key) {
    if (around.is_object() && around.contains(key) && around[key].is_object()) return &around[key];
    file_.Mistake(Code::Missing, place / key, "an object is expected", "write the file with mien solve");
    return nullptr;
  }

  const Json* Rows(const std::string& key, const Json& around, const Pointer& place = Pointer()) {
    if (around.is_object() && around.contains(key) && around[key].is_array()) return &around[key];
    file_.Mistake(Code::Missing, place / key, "a list is expected", "write the file with mien solve");
    return nullptr;
  }

  double Number(const Pointer& place, const Json& json) {
    if (json.is_number() && std::isfinite(json.get<double>()) && std::abs(json.get<double>()) < 1e15)
      return json.get<double>();
    file_.Mistake(Code::InvalidValue, place, "a number is expected", "write a number");
    return 0;
  }

  /// A list of `count` numbers; calls `use` for each.
  template <class Use>
  void Numbers(const Pointer& place, const Json& row, std::size_t count, const Use& use) {
    if (!row.is_array() || row.size() != count) {
      file_.Mistake(Code::Contradiction, place, fmt::format("a list of {} numbers is expected", count),
                    "write the file with mien solve");
      return;
    }
    for (std::size_t i = 0; i < count; ++i) use(i, Number(place / i, row[i]));
  }

  bool HasRowPerFrame(const Pointer& place, const Json* rows) {
    if (!rows) return false;
    if (rows->size() == take_.frames.size()) return true;
    file_.Mistake(
        Code::Contradiction, place,
        fmt::format("the list has {} elements, and there are {} frames", rows->size(), take_.frames.size()),
        "write the file with mien solve");
    return false;
  }

  void CheckOrder() {
    if (take_.frames.empty())
      file_.Mistake(Code::Empty, Pointer("/frames"), "there are no frames", "solve a take with frames");
    if (take_.times.size() != take_.frames.size())
      file_.Mistake(Code::Contradiction, Pointer("/times"), "there are not as many times as frames",
                    "write the file with mien solve");
    for (std::size_t f = 1; f < take_.times.size(); ++f)
      if (!(take_.times[f] > take_.times[f - 1]) || take_.frames[f] <= take_.frames[f - 1])
        file_.Mistake(Code::Order, Pointer("/times") / f, "frames and times have to rise",
                      "give each recording its own file");
  }

  void ReadRate(const Json& root) {
    if (root.contains("rate") && root["rate"].is_number())
      if (const auto rate = FrameRateOf(root["rate"].get<double>())) take_.rate = *rate;
    if (take_.rate.numerator == 0)
      file_.Mistake(Code::Missing, Pointer("/rate"), "the rate is missing or impossible",
                    "write it in hertz");
    else if (root.contains("timecode") && root["timecode"].is_string())
      take_.timecode = ParseTimecode(root["timecode"].get<std::string>(), take_.rate);
  }

  void ReadWeights(const Pointer& place, const Json& block) {
    if (!Rows("names", block, place)) return;
    const std::vector<std::string> written = file_.ReadNames(place / "names", block["names"], "weight");
    file_.ThrowMistakes();
    WeightNames names;
    std::vector<std::optional<std::size_t>> columns;
    for (const std::string& name : written) columns.push_back(names.Add(name));
    take_.names = names.Names();
    const Json* const rows = Rows("weights", block, place);
    if (!HasRowPerFrame(place / "weights", rows)) return;
    take_.weights.resize(take_.frames.size() * take_.names.size());
    for (std::size_t f = 0; f < rows->size(); ++f)
      Numbers(place / "weights" / f, (*rows)[f], written.size(), [&](std::size_t i, double weight) {
        if (columns[i]) take_.weights[f * take_.names.size() + *columns[i]] = weight;
      });
    names.AppendTo(take_.notes);
  }

  void ReadEyes() {
    take_.eyes.resize(take_.frames.size());
    for (const auto& [key, eye] : {std::pair("left", 0U), std::pair("right", 1U)}) {
      const Pointer place = Pointer("/eyes") / key;
      const Json* const rows = Rows(key, file_.Root()["eyes"], Pointer("/eyes"));
      if (!HasRowPerFrame(place, rows)) return;
      for (std::size_t f = 0; f < rows->size(); ++f) {
        EyeAngles& angles = take_.eyes[f][eye];
        Numbers(place / f, (*rows)[f], 2,
                [&](std::size_t i, double angle) { (i == 0 ? angles.yaw : angles.pitch) = angle; });
      }
    }
  }

  void ReadHead() {
    const Pointer place("/head/rotation");
    const Json* const rows = Rows("rotation", file_.Root()["head"], Pointer("/head"));
    if (!HasRowPerFrame(place, rows)) return;
    for (std::size_t f = 0; f < rows->size(); ++f) {
      double q[4] = {0, 0, 0, 1};
      Numbers(place / f, (*rows)[f], 4, [&](std::size_t i, double value) { q[i] = value; });
      if (q[0] == 0 && q[1] == 0 && q[2] == 0 && q[3] == 0) {
        file_.Mistake(Code::InvalidValue, place / f, "the quaternion is 0", "write a rotation");
        return;
      }
      take_.heads.push_back(AnglesOf(RotationOf(VgeQuaternion(q[0], q[1], q[2], q[3]))));
    }
    ReadHeadPlaces();
  }

  void ReadHeadPlaces() {
    const Json& head = file_.Root()["head"];
    if (!head.contains("translation")) return;
    const Pointer place("/head/translation");
    const Json* const rows = Rows("translation", head, Pointer("/head"));
    if (!HasRowPerFrame(place, rows)) return;
    take_.head_places.resize(rows->size());
    for (std::size_t f = 0; f < rows->size(); ++f) {
      Point& p = take_.head_places[f];
      Numbers(place / f, (*rows)[f], 3, [&](std::size_t i, double value) {
        (i == 0 ? p.x : i == 1 ? p.y : p.z) = value;
      });
    }
  }

  JsonFile file_;
  WeightTake take_;
};

} // namespace

bool IsAnimationFile(std::string_view bytes) {
  constexpr std::size_t kFar = 1000; // the format is the first member
  return bytes.substr(0, kFar).find("\"mien animation 1\"") != std::string_view::npos;
}

WeightTake ReadAnimationFile(std::string_view bytes, const std::string& file) {
  if (std::optional<WeightTake> take = ReadRegularAnimationFile(bytes)) return std::move(*take);
  return Reader(bytes, file).Read(); // which finds what is wrong
}

} // namespace mien
