#include "host/view/view_page.h"

#include "host/base/rotation.h"
#include "host/gltf/glb.h"
#include "host/view/page_data.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string_view>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;

// The steps of what a page shows: finer than anyone sees.
constexpr double kSecondStep = 1e-4;
constexpr double kMillimetreStep = 0.05;
constexpr double kQuaternionStep = 1e-5; // a thousandth of a degree
constexpr double kMetreStep = 5e-5;
constexpr double kScaleStep = 1e-4;
constexpr double kWeightStep = 0.001;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

double Component(const VgeTVector& v, std::size_t i) { return i == 0 ? v.x : i == 1 ? v.y : v.z; }
double Component(const VgeSVector& v, std::size_t i) { return i == 0 ? v.x : i == 1 ? v.y : v.z; }
double Component(const VgeQuaternion& q, std::size_t i) {
  return i == 0 ? q.x : i == 1 ? q.y : i == 2 ? q.z : q.w;
}

/// The quaternions of rotations (size: frames), without jumps from one to the next.
std::vector<VgeQuaternion> QuaternionsOf(std::size_t frames,
                                         const std::function<VgeRMatrix(std::size_t frame)>& rotation) {
  std::vector<VgeQuaternion> quaternions;
  VgeQuaternion last(0, 0, 0, 1);
  for (std::size_t f = 0; f < frames; ++f) {
    last = QuaternionNear(last, rotation(f));
    quaternions.push_back(last);
  }
  return quaternions;
}

class Writer {
public:
  explicit Writer(const ViewPage& page) : page_(page), frames_(page.frames.size()) {}

  Json Page() {
    Json page = {{"format", "mien view 1"},
                 {"generator", "mien " MIEN_VERSION},
                 {"title", page_.title},
                 {"rate", {page_.rate.numerator, page_.rate.denominator}}};
    if (page_.timecode) {
      page["timecode"] = ToText(*page_.timecode);
      page["timecode_offset_s"] = page_.timecode_offset_s;
    }
    page["frames"] = Column(1, [&](std::size_t f) { return static_cast<double>(page_.frames[f]); });
    page["times"] = Column(kSecondStep, [&](std::size_t f) { return page_.times[f]; });
    page["sides"] = Json::array(); // a live page is empty before the first face
    for (const ViewSide& side : page_.sides) page["sides"].push_back(Side(side));
    if (page_.sides.size() > 1) {
      Json curves = Json::array();
      for (const ViewDifference& curve : page_.differences) curves.push_back(Difference(curve));
      page["comparison"] = {{"text", page_.alignment}, {"curves", std::move(curves)}};
    }
    if (!page_.events.empty()) page["live"] = {{"events", page_.events}};
    return page;
  }

  std::string Base64() const { return data_.Base64(); }

private:
  Json Column(double step, const std::function<double(std::size_t)>& value) {
    return data_.AddTable(frames_, 1, step, [&](std::size_t f, std::size_t) { return value(f); });
  }

  Json Side(const ViewSide& side) {
    Json json = {{"name", side.name}};
    if (!side.command.empty()) json["command"] = side.command;
    json["facts"] = Json::array();
    for (const ViewFacts& facts : side.facts) {
      Json rows = Json::array();
      for (const auto& [name, value] : facts.rows) rows.push_back({name, value});
      json["facts"].push_back({{"title", facts.title}, {"rows", std::move(rows)}});
    }
    json["notes"] = side.notes;
    if (side.markers) json["markers"] = Markers(*side.markers);
    json["groups"] = Json::array();
    for (const ViewCurves& curves : side.curves) json["groups"].push_back(Curves(curves));
    json["spans"] = Json::array();
    for (const ViewSpan& span : side.spans)
      json["spans"].push_back(
          {{"kind", span.kind}, {"name", span.name}, {"first", span.first}, {"last", span.last}});
    json["flags"] = Json::array();
    for (const ViewFlag& flag : side.flags) {
      Json written = {{"kind", flag.kind}, {"text", flag.text}, {"first", flag.first}, {"last", flag.last}};
      if (flag.curve) written["curve"] = {flag.curve->first, flag.curve->second};
      json["flags"].push_back(std::move(written));
    }
    json["worst"] = Json::array();
    for (const auto& [frame, text] : side.worst) json["worst"].push_back({{"frame", frame}, {"text", text}});
    if (!side.head_motion.empty()) json["head_motion"] = HeadMotion(side.head_motion);
    if (side.head) json["head"] = Head(*side.head, json["groups"]);
    return json;
  }

  Json Markers(const ViewMarkers& markers) {
    const std::size_t count = markers.names.size();
    Json json = {{"names", markers.names}};
    json["positions"] =
        data_.AddTable(frames_, 3 * count, kMillimetreStep, [&](std::size_t f, std::size_t column) {
          const std::size_t i = f * count + column / 3;
          return markers.states[i] == MarkerState::Gap
                     ? kNone
                     : static_cast<double>(markers.positions[i][column % 3]);
        });
    json["states"] = data_.AddTable(frames_, count, 1, [&](std::size_t f, std::size_t marker) {
      return static_cast<double>(markers.states[f * count + marker]);
    });
    if (!markers.neutral.empty()) {
      json["neutral"] = Json::array();
      for (const auto& p : markers.neutral) json["neutral"].push_back(p ? Json({p->x, p->y, p->z}) : Json());
    }
    json["parts"] = markers.parts;
    return json;
  }

  Json Curves(const ViewCurves& curves) {
    const std::size_t count = curves.curves.size();
    return {{"name", curves.name},
            {"unit", curves.unit},
            {"curves", curves.curves},
            {"values", data_.AddTable(frames_, count, curves.step, [&](std::size_t f, std::size_t curve) {
               return curves.values[f * count + curve];
             })}};
  }

  Json HeadMotion(const std::vector<VgeAMatrix>& motion) {
    const auto rotations = QuaternionsOf(frames_, [&](std::size_t f) { return RotationOf(motion[f]); });
    return data_.AddTable(frames_, 7, kQuaternionStep, [&](std::size_t f, std::size_t column) {
      constexpr double kMetres = 0.001;
      return column < 4 ? Component(rotations[f], column) : kMetres * motion[f].m[3][column - 4];
    });
  }

  /// `groups` gets the weights of morph targets that no curve of the side drives by itself.
  Json Head(const ViewHead& view, Json& groups) {
    std::ostringstream glb;
    WriteGlb(view.head.glb, glb);
    Json json = {{"glb", data_.AddBytes(glb.str())}, {"name", view.name}, {"morphs", Json::array()}};
    for (const AnimatedHead::Morphs& morphs : view.head.morphs)
      json["morphs"].push_back(Morphs(morphs, view.weights, groups));
    json["moved"] = Json::array();
    for (const auto& [node, rotation] : view.head.turning)
      json["moved"].push_back({{"node", node}, {"rotation", Rotations(rotation)}});
    for (const auto& moving : view.head.moving) {
      const auto& transform = moving.transform;
      json["moved"].push_back(
          {{"node", moving.node},
           {"rotation", Rotations([&](std::size_t f) { return transform(f).rotation; })},
           {"translation", data_.AddTable(frames_, 3, kMetreStep,
                                          [&](std::size_t f, std::size_t axis) {
                                            return Component(transform(f).translation, axis);
                                          })},
           {"scale", data_.AddTable(frames_, 3, kScaleStep, [&](std::size_t f, std::size_t axis) {
              return Component(transform(f).scale, axis);
            })}});
    }
    if (view.head.head_node) json["head_node"] = *view.head.head_node;
    if (view.place)
      json["place"] = {{"scale", view.place->scale},
                       {"translation", {view.place->moved.x, view.place->moved.y, view.place->moved.z}}};
    return json;
  }

  Json Rotations(const std::function<VgeRMatrix(std::size_t)>& rotation) {
    const auto rotations = QuaternionsOf(frames_, rotation);
    return data_.AddTable(frames_, 4, kQuaternionStep,
                          [&](std::size_t f, std::size_t i) { return Component(rotations[f], i); });
  }

  Json Morphs(const AnimatedHead::Morphs& morphs, const std::string& weights, Json& groups) {
    Json json = {{"node", morphs.node.node}, {"rest", *morphs.node.defaults}, {"drivers", Json::array()}};
    const std::vector<std::string>& targets = *morphs.node.targets;
    if (!morphs.drivers) {
      const std::string group = fmt::format("Morph targets of node {}", morphs.node.node);
      for (std::size_t t = 0; t < targets.size(); ++t) json["drivers"].push_back({group, t});
      groups.push_back({{"name", group},
                        {"unit", ""},
                        {"curves", targets},
                        {"values", data_.AddTable(frames_, targets.size(), kWeightStep, morphs.weight)}});
      return json;
    }
    for (const auto& driver : *morphs.drivers)
      json["drivers"].push_back(driver ? Json({weights, *driver}) : Json());
    return json;
  }

  static Json Difference(const ViewDifference& curve) {
    Json json = {{"group", curve.group},
                 {"name", curve.name},
                 {"largest", curve.largest},
                 {"largest_frame", curve.largest_frame},
                 {"rms", curve.rms}};
    json["correlation"] = curve.correlation ? Json(*curve.correlation) : Json();
    json["lag_frames"] = curve.lag_frames ? Json(*curve.lag_frames) : Json();
    return json;
  }

  const ViewPage& page_;
  std::size_t frames_;
  PageData data_;
};

/// The part of the viewer before its data. The policy in it lets a page request nothing; one that shows a stream
/// may ask its own server.
std::string BeforeData(std::string_view viewer, bool is_live) {
  std::string text(viewer);
  constexpr std::string_view kRequests = "connect-src blob:";
  if (const std::size_t at = text.find(kRequests); is_live && at != std::string::npos)
    text.insert(at + kRequests.size(), " 'self'");
  return text;
}

/// JSON that may stand in a script element: no tag begins or ends in it.
std::string InScript(const Json& json) {
  const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string safe;
  safe.reserve(text.size());
  for (const char c : text)
    if (c == '<')
      safe += "\\u003c";
    else
      safe.push_back(c);
  return safe;
}

} // namespace

void WriteViewPage(const ViewPage& page, std::string_view viewer, std::ostream& out) {
  constexpr std::string_view kData = "MIEN_DATA", kBytes = "MIEN_BYTES";
  Writer writer(page);
  const std::string data = InScript(writer.Page());
  const std::size_t at_data = viewer.find(kData), at_bytes = viewer.find(kBytes, at_data);
  out << BeforeData(viewer.substr(0, at_data), !page.events.empty()) << data
      << viewer.substr(at_data + kData.size(), at_bytes - at_data - kData.size()) << writer.Base64()
      << viewer.substr(at_bytes + kBytes.size());
}

} // namespace mien
