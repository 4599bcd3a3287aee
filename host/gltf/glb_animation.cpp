#include "host/gltf/glb_animation.h"

#include "host/base/rotation.h"

#include <algorithm>
#include <initializer_list>

namespace mien {

namespace {

void Put(std::span<float> values, std::initializer_list<double> components) {
  std::transform(components.begin(), components.end(), values.begin(),
                 [](double component) { return static_cast<float>(component); });
}

} // namespace

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
  return AddSampler(targets, ElementType::Scalar, [&](std::size_t f, std::span<float> values) {
    for (std::size_t t = 0; t < targets; ++t) values[t] = static_cast<float>(weight(f, t));
  });
}

void GlbAnimation::AddTranslation(std::size_t node,
                                  const std::function<VgeTVector(std::size_t frame)>& translation) {
  const auto fill = [&](std::size_t f, std::span<float> values) {
    const VgeTVector t = translation(f);
    Put(values, {t.x, t.y, t.z});
  };
  AddChannel(node, "translation", AddSampler(3, ElementType::Vec3, fill));
}

void GlbAnimation::AddRotation(std::size_t node,
                               const std::function<VgeRMatrix(std::size_t frame)>& rotation) {
  VgeQuaternion last(0, 0, 0, 1);
  const auto fill = [&](std::size_t f, std::span<float> values) {
    last = QuaternionNear(last, rotation(f));
    Put(values, {last.x, last.y, last.z, last.w});
  };
  AddChannel(node, "rotation", AddSampler(4, ElementType::Vec4, fill));
}

void GlbAnimation::AddTransform(std::size_t node,
                                const std::function<ClusterTransform(std::size_t frame)>& transform) {
  AddTranslation(node, [&](std::size_t f) { return transform(f).translation; });
  AddRotation(node, [&](std::size_t f) { return transform(f).rotation; });
  const auto fill = [&](std::size_t f, std::span<float> values) {
    const VgeSVector s = transform(f).scale;
    Put(values, {s.x, s.y, s.z});
  };
  AddChannel(node, "scale", AddSampler(3, ElementType::Vec3, fill));
}

void GlbAnimation::Finish(const std::string& name, Json extras) {
  AppendTo(glb_, "animations",
           {{"name", name},
            {"channels", std::move(channels_)},
            {"samplers", std::move(samplers_)},
            {"extras", std::move(extras)}});
}

std::size_t
GlbAnimation::AddSampler(std::size_t row_size, ElementType type,
                         const std::function<void(std::size_t frame, std::span<float> values)>& fill) {
  if (!input_) input_ = AppendFloats(glb_, times_, ElementType::Scalar, Bounds::With);
  const std::size_t output =
      AppendRows(glb_, keys_.size(), row_size, type,
                 [&](std::size_t key, std::span<float> values) { fill(keys_[key], values); });
  samplers_.push_back({{"input", *input_}, {"interpolation", "LINEAR"}, {"output", output}});
  return samplers_.size() - 1;
}

void GlbAnimation::AddChannel(std::size_t node, const char* path, std::size_t sampler) {
  channels_.push_back({{"sampler", sampler}, {"target", {{"node", node}, {"path", path}}}});
}

} // namespace mien
