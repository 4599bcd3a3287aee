#include "host/stream/face_setups.h"

#include "host/base/error.h"
#include "host/character/character_file.h"
#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/jobs/causal_solve.h"
#include "host/jobs/read_points.h"
#include "host/performer/performer_file.h"
#include "host/performer/ranges_file.h"
#include "host/weights/weight_map.h"

#include <algorithm>
#include <string_view>

namespace mien {

namespace {

constexpr std::string_view kLandmarks68 = "landmarks68", kLandmarks478 = "landmarks478", kArkit52 = "arkit52";

/// The built-in performer whose markers the face has; empty if there is none.
std::string BuiltInFor(const LiveSource& face) {
  const auto has = [&](std::string_view name) {
    return std::find(face.names.begin(), face.names.end(), name) != face.names.end();
  };
  if (has("lm467")) return std::string(kLandmarks478);
  return has("lm48") && has("lm67") ? std::string(kLandmarks68) : "";
}

} // namespace

FaceSetups::FaceSetups(const LiveJob& job) : job_(job) {
  common_.causal = SettingsOf(job.causal);
  common_.causal.solver = job.solver;
  common_.causal.head_fit = job.head_fit;
  common_.causal.output_rate = job.output_rate;
  common_.expressions = job.expressions;
  common_.swap_sides = job.swap_sides;
  if (!job.ranges.empty())
    common_.weight_ranges = ReadRanges(ReadFile(job.ranges), InputName(job.ranges)).ranges;
  for (const StreamSink& sink : job.sinks)
    needs_shapes_ |= sink.kind != StreamSink::Kind::Lines && sink.kind != StreamSink::Kind::Record;
  for (const std::string& performer : job.performers) Read(performer, "");
  for (const std::string_view performer : {kLandmarks68, kLandmarks478}) Read(std::string(performer), "");
  Read("", job.character);
  Read("", std::string(kArkit52));
  for (const StreamSource& source : job.sources)
    Read(source.performer.value_or(""), source.character.value_or(""));
  if (!job.character.empty() ||
      std::any_of(job.sources.begin(), job.sources.end(),
                  [](const StreamSource& source) { return source.character.has_value(); }))
    common_.map = std::make_shared<const WeightMap>(LoadWeightMap(job.map));
  if (const std::string& path = job.causal.neutral_take; !path.empty()) {
    const MappedFile file(path);
    common_.neutral_take =
        std::make_shared<const Take>(ReadPoints(file.Bytes(), InputName(path), job.reading));
    common_.neutral = job.neutral;
  }
}

void FaceSetups::Read(const std::string& performer, const std::string& character) {
  if (!performer.empty() && !performers_.contains(performer)) {
    Performer read = LoadPerformer(performer);
    if (!job_.performer_ranges) read.ranges.clear();
    performers_[performer] = std::make_shared<const Performer>(std::move(read));
  }
  if (!character.empty() && !characters_.contains(character))
    characters_[character] = std::make_shared<const Character>(LoadCharacter(character));
}

LiveSetup FaceSetups::Of(const StreamSource& from, const LiveSource& face, std::size_t performer) const {
  LiveSetup setup = common_;
  std::string character = from.character.value_or(job_.character);
  if (face.kind == LiveKind::Weights) {
    setup.neutral_take = nullptr;
  } else {
    setup.weight_ranges.clear();
    if (character.empty() && needs_shapes_) character = kArkit52;
    std::string name = job_.performers.empty() ? BuiltInFor(face) : job_.performers[performer];
    if (from.performer && (performer == 0 || job_.performers.empty())) name = *from.performer;
    if (name.empty())
      throw InputError(Code::Missing, "", "", "no built-in performer has these markers",
                       "name the performer's file with --performer");
    setup.performer = performers_.at(name);
  }
  if (!character.empty()) setup.character = characters_.at(character);
  return setup;
}

} // namespace mien
