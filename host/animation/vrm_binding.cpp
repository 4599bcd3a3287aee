#include "host/animation/vrm_binding.h"

#include <algorithm>
#include <numbers>
#include <utility>

namespace mien {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

bool IsBlink(const std::string& name) {
  return name == "blink" || name == "blinkLeft" || name == "blinkRight";
}

bool IsLook(const std::string& name) {
  return name == "lookUp" || name == "lookDown" || name == "lookLeft" || name == "lookRight";
}

bool IsVowel(const std::string& name) {
  return name == "aa" || name == "ih" || name == "ou" || name == "ee" || name == "oh";
}

/// By how much a weight takes away from those that its expression overrides.
double Taken(VrmExpression::Override override, double weight) {
  switch (override) {
  case VrmExpression::Override::Block:
    return weight > 0 ? 1 : 0;
  case VrmExpression::Override::Blend:
    return weight;
  case VrmExpression::Override::None:
    break;
  }
  return 0;
}

/// An angle in radians, of which `positive` and `negative` are the two directions.
double Turned(double angle, const VrmLookRange& positive, const VrmLookRange& negative) {
  return (angle < 0 ? -negative(-angle * kDegrees) : positive(angle * kDegrees)) / kDegrees;
}

} // namespace

VrmBinding::VrmBinding(VrmAvatar avatar, const WeightFinder& weights, bool has_eyes)
    : avatar_(std::move(avatar)) {
  for (const VrmExpression& expression : avatar_.expressions)
    sources_.push_back(expression.binds.empty() ? Source() : SourceOf(expression, weights, has_eyes));
}

bool VrmBinding::Has(std::string_view expression) const {
  return std::any_of(avatar_.expressions.begin(), avatar_.expressions.end(),
                     [&](const VrmExpression& own) { return own.name == expression && !own.binds.empty(); });
}

VrmBinding::Source VrmBinding::SourceOf(const VrmExpression& expression, const WeightFinder& weights,
                                        bool has_eyes) const {
  if (has_eyes && IsLook(expression.name))
    return {.kind = avatar_.looks_by_expressions ? Kind::Look : Kind::None};
  if (expression.name == "blink" && !Has("blinkLeft") && !Has("blinkRight")) {
    const auto left = weights.NamedInAnyCase("blinkLeft"), right = weights.NamedInAnyCase("blinkRight");
    if (left && right) return {.kind = Kind::Weights, .weights = {*left, *right}};
  }
  auto weight = weights.Named(expression.name);
  if (!weight) weight = weights.NamedInAnyCase(expression.name);
  if (const auto meaning = FindArkitName(expression.name); meaning && !weight)
    weight = weights.Meaning(*meaning);
  return weight ? Source{.kind = Kind::Weights, .weights = {*weight}} : Source();
}

double VrmBinding::LookOf(const std::string& expression, const Eyes& eyes) const {
  const double yaw = (eyes[0].yaw + eyes[1].yaw) / 2 * kDegrees;
  const double pitch = (eyes[0].pitch + eyes[1].pitch) / 2 * kDegrees;
  // Both eyes show one direction: that of the outer range, as for the eye that looks outward.
  if (expression == "lookLeft") return avatar_.look_out(std::max(yaw, 0.0));
  if (expression == "lookRight") return avatar_.look_out(std::max(-yaw, 0.0));
  if (expression == "lookDown") return avatar_.look_down(std::max(pitch, 0.0));
  return avatar_.look_up(std::max(-pitch, 0.0));
}

std::vector<double> VrmBinding::Solve(std::span<const double> weights, const Eyes* eyes) const {
  const std::vector<VrmExpression>& expressions = avatar_.expressions;
  std::vector<double> shown(expressions.size());
  double blink = 1, look = 1, mouth = 1;
  for (std::size_t e = 0; e < shown.size(); ++e) {
    const Source& source = sources_[e];
    double weight = 0;
    if (source.kind == Kind::Look && eyes) weight = LookOf(expressions[e].name, *eyes);
    for (const std::size_t w : source.weights)
      weight += weights[w] / static_cast<double>(source.weights.size());
    weight = std::clamp(weight, 0.0, 1.0);
    if (expressions[e].is_binary) weight = weight > 0.5 ? 1 : 0;
    shown[e] = weight;
    blink -= Taken(expressions[e].blink, weight);
    look -= Taken(expressions[e].look, weight);
    mouth -= Taken(expressions[e].mouth, weight);
  }
  for (std::size_t e = 0; e < shown.size(); ++e) {
    const std::string& name = expressions[e].name;
    const double left = IsBlink(name) ? blink : IsLook(name) ? look : IsVowel(name) ? mouth : 1;
    shown[e] *= std::max(left, 0.0);
    if (expressions[e].is_binary && shown[e] < 1) shown[e] = 0;
  }
  return shown;
}

Eyes VrmBinding::TurnOf(const Eyes& eyes) const {
  const VrmAvatar& a = avatar_;
  return {EyeAngles{.yaw = Turned(eyes[0].yaw, a.look_out, a.look_in),
                    .pitch = Turned(eyes[0].pitch, a.look_down, a.look_up)},
          EyeAngles{.yaw = Turned(eyes[1].yaw, a.look_in, a.look_out),
                    .pitch = Turned(eyes[1].pitch, a.look_down, a.look_up)}};
}

} // namespace mien
