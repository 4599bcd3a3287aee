#include "host/weights/weight_map.h"

#include "host/base/face_parts.h"
#include "host/base/json_file.h"
#include "host/base/text.h"
#include "host/files/built_in.h"
#include "host/weights/arkit52_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace mien {
namespace {

using Json = JsonFile::Json;
using Pointer = JsonFile::Pointer;

constexpr BuiltIn kBuiltIn[] = {{"arkit52", kArkit52Map}};

std::vector<std::string> TemplateNames() {
  std::vector<std::string> names;
  for (const TemplateColumn& column : TemplateColumns()) names.push_back(column.name);
  return names;
}

} // namespace

WeightMap ReadWeightMap(std::string_view text, const std::string& file) {
  JsonFile json(text, file);
  WeightMap map;
  map.file = file;
  map.name = json.ReadHeading("mien weight map 1", "weight map");
  const std::vector<std::string> names = TemplateNames();
  map.templates.resize(names.size());
  const Json& root = json.Root();
  json.CheckKeys(Pointer(), root, {"format", "name", "templates"});
  const Pointer place("/templates");
  if (!root.contains("templates"))
    json.Mistake(Code::Missing, place, "the map has no templates",
                 "write \"templates\": { \"Mouth.Open\": { \"jawOpen\": 1 } }");
  else if (json.RequireObject(place, root["templates"]))
    for (const auto& [name, weights] : root["templates"].items()) {
      const auto found = std::find(names.begin(), names.end(), name);
      if (found == names.end()) {
        json.Mistake(Code::NotFound, place / name, "the face has no template of this name",
                     "the templates are " + Some(names, names.size()));
        continue;
      }
      if (!json.RequireObject(place / name, weights)) continue;
      for (const auto& [shape, factor] : weights.items()) {
        if (!factor.is_number() || !std::isfinite(factor.template get<double>()))
          json.Mistake(Code::InvalidValue, place / name / shape, "a number is expected",
                       "write the factor of the weight, such as 1");
        else
          map.templates[static_cast<std::size_t>(found - names.begin())].emplace_back(
              shape, factor.template get<double>());
      }
    }
  json.ThrowMistakes();
  return map;
}

WeightMap LoadWeightMap(const std::string& name_or_path) {
  return ReadWeightMap(ReadBuiltInOrFile(kBuiltIn, name_or_path, "weight map"), name_or_path);
}

std::vector<std::string> BuiltInWeightMaps() { return NamesOf(kBuiltIn); }

MappedTemplates::MappedTemplates(const WeightMap& map, const std::vector<std::string>& names,
                                 const std::string& file, std::vector<std::string>& unused) {
  std::vector<bool> used(names.size());
  for (std::size_t t = 0; t < map.templates.size(); ++t)
    for (const auto& term : map.templates[t]) {
      const auto found = std::find(names.begin(), names.end(), term.first);
      if (found == names.end()) continue;
      const auto name = static_cast<std::size_t>(found - names.begin());
      terms_.push_back({t, name, term.second});
      used[name] = true;
    }
  if (terms_.empty())
    throw InputError(
        Code::Unmatched, file, "",
        fmt::format("the weight map {} uses none of its weights: {}", Quoted(map.name), SomeQuoted(names)),
        "name a map of these weights with --map");
  for (std::size_t n = 0; n < used.size(); ++n)
    if (!used[n]) unused.push_back(names[n]);
}

void MappedTemplates::Apply(std::span<const double> weights, std::span<double> templates) const {
  std::fill(templates.begin(), templates.end(), 0);
  for (const Term& term : terms_) templates[term.column] += term.factor * weights[term.name];
  std::transform(templates.begin(), templates.end(), templates.begin(),
                 [](double weight) { return std::max(weight, 0.0); });
}

LongVector<double> TemplatesOf(const WeightTake& take, const WeightMap& map,
                               std::vector<std::string>& unused) {
  const MappedTemplates mapped(map, take.names, take.file, unused);
  const std::size_t columns = map.templates.size(), names = take.names.size();
  LongVector<double> templates(take.frames.size() * columns);
  for (std::size_t f = 0; f < take.frames.size(); ++f)
    mapped.Apply(take.weights.subspan(f * names, names), templates.subspan(f * columns, columns));
  return templates;
}

} // namespace mien
