#include "host/gltf/glb_animation.h"

#include "host/base/rotation.h"

namespace mien {

GlbAnimation::GlbAnimation(Glb& glb, std::span<const double> times) : glb_(glb), frame_count_(times.size()) {
  for (std::size_t f = 0; f < times.size(); ++f) {
    const auto time = static_cast<float>(times[f] - times[0]);
    if (!times_.empty() && time <= times_.back()) continue;
    keys_.push_back(f);
    times_.push_back(time);
  }
}

void GlbAnimation::AddWeights(const MorphNode& node,
                              const std::function<double(std::size_t frame, std::size_t target)>& weight,
                              Curve curve) {
  if (curve == Curve::Own)
    return AddChannel(node.node, "weights", AddWeightSampler(node.targets->size(), weight));
  const auto [known, is_new] = weights_.try_emplace({node.targets, node.defaults});
  if (is_new) known->second = AddWeightSampler(node.targets->size(), weight);
  AddChannel(node.node, "weights", known->second);
}

std::size_t
GlbAnimation::AddWeightSampler(std::size_t targets,
                               const std::function<double(std::size_t frame, std::size_t target)>& weight) {
  GlbLength(0, glb_.binary.size() + keys_.size() * targets * sizeof(float), 0,
            glb_.file); // before they are there
  std::vector<float> values;
  values.reserve(keys_.size() * targets);
  for (const std::size_t f : keys_)
    for (std::size_t t = 0; t < targets; ++t) values.push_back(static_cast<float>(weight(f, t)));
  return AddSampler(values, ElementType::Scalar);
}

void GlbAnimation::AddTranslation(std::size_t node,
                                  const std::function<VgeTVector(std::size_t frame)>& translation) {
  std::vector<float> values;
  values.reserve(3 * keys_.size());
  for (const std::size_t f : keys_) {
    const VgeTVector t = translation(f);
    for (const double component : {t.x, t.y, t.z}) values.push_back(static_cast<float>(component));
  }
  AddChannel(node, "translation", AddSampler(values, ElementType::Vec3));
}

void GlbAnimation::AddRotation(std::size_t node,
                               const std::function<VgeRMatrix(std::size_t frame)>& rotation) {
  std::vector<float> values;
  values.reserve(4 * keys_.size());
  VgeQuaternion last(0, 0, 0, 1);
  for (const std::size_t f : keys_) {
    last = QuaternionNear(last, rotation(f));
    for (const double component : {last.x, last.y, last.z, last.w})
      values.push_back(static_cast<float>(component));
  }
  AddChannel(node, "rotation", AddSampler(values, ElementType::Vec4));
}

void GlbAnimation::AddTransform(std::size_t node,
                                const std::function<ClusterTransform(std::size_t frame)>& transform) {
  AddTranslation(node, [&](std::size_t f) { return transform(f).translation; });
  std::vector<float> scales;
  for (const std::size_t f : keys_) {
    const VgeSVector s = transform(f).scale;
    for (const double component : {s.x, s.y, s.z}) scales.push_back(static_cast<float>(component));
  }
  AddRotation(node, [&](std::size_t f) { return transform(f).rotation; });
  AddChannel(node, "scale", AddSampler(scales, ElementType::Vec3));
}

void GlbAnimation::Finish(const std::string& name, Json extras) {
  AppendTo(glb_, "animations",
           {{"name", name},
            {"channels", std::move(channels_)},
            {"samplers", std::move(samplers_)},
            {"extras", std::move(extras)}});
}

std::size_t GlbAnimation::AddSampler(const std::vector<float>& values, ElementType type) {
  if (!input_) input_ = AppendFloats(glb_, times_, ElementType::Scalar, Bounds::With);
  const std::size_t output = AppendFloats(glb_, values, type, Bounds::Without);
  samplers_.push_back({{"input", *input_}, {"interpolation", "LINEAR"}, {"output", output}});
  return samplers_.size() - 1;
}

void GlbAnimation::AddChannel(std::size_t node, const char* path, std::size_t sampler) {
  channels_.push_back({{"sampler", sampler}, {"target", {{"node", node}, {"path", path}}}});
}

} // namespace mien
