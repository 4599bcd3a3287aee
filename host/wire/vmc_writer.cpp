#include "host/wire/vmc_writer.h"

#include <string_view>

namespace mien {

namespace {

// The presets of VRM 1.0 that VRM 0.x has too.
constexpr std::pair<std::string_view, std::string_view> kOlderPresets[] = {
    {"happy", "Joy"},
    {"angry", "Angry"},
    {"sad", "Sorrow"},
    {"relaxed", "Fun"},
    {"aa", "A"},
    {"ih", "I"},
    {"ou", "U"},
    {"ee", "E"},
    {"oh", "O"},
    {"blink", "Blink"},
    {"lookUp", "LookUp"},
    {"lookDown", "LookDown"},
    {"blinkLeft", "Blink_L"},
    {"blinkRight", "Blink_R"},
    {"neutral", "Neutral"},
    {"lookLeft", "LookLeft"},
    {"lookRight", "LookRight"},
};

constexpr std::string_view kWeight = "/VMC/Ext/Blend/Val";

} // namespace

VmcWriter::VmcWriter(const AnimationLayout& layout)
    : columns_(layout.shapes), has_shapes_(!layout.shapes.empty()) {
  const std::vector<std::string> names =
      layout.WeightNames(has_shapes_ ? WeightKind::Shapes : WeightKind::Templates);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (has_shapes_ && columns_.Means(i)) continue;
    others_.emplace_back(names[i], i);
    for (const auto& [name, older] : kOlderPresets)
      if (names[i] == name) others_.emplace_back(older, i);
  }
}

void VmcWriter::Write(const LiveOutput& output, const Send& send) {
  bundles_.Clear();
  bundles_.Add("/VMC/Ext/OK", {1});
  bundles_.Add("/VMC/Ext/T", {SentNumber(output.time_s)});
  bundles_.Add("/VMC/Ext/Root/Pos", {std::string_view("root"), 0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 1.0F});
  head_.Follow(output.head_motion);
  AddBone("Head", head_.rotation);
  if (output.eyes) {
    AddBone("LeftEye", RotationOfEye((*output.eyes)[0]));
    AddBone("RightEye", RotationOfEye((*output.eyes)[1]));
  }
  for (std::size_t name = 0; name < kArkitNames.size(); ++name)
    if (columns_.Has(name))
      bundles_.Add(kWeight, {kArkitNames[name], SentNumber(columns_.Weight(name, output.shapes))});
  for (const auto& [name, i] : others_)
    bundles_.Add(kWeight,
                 {std::string_view(name), SentNumber(has_shapes_ ? output.shapes[i] : output.weights[i])});
  bundles_.Add("/VMC/Ext/Blend/Apply", {});
  for (std::size_t i = 0; i < bundles_.Size(); ++i) send(bundles_[i]);
}

void VmcWriter::AddBone(std::string_view bone, const VgeQuaternion& rotation) {
  // The protocol's x axis points the other way.
  bundles_.Add("/VMC/Ext/Bone/Pos", {bone, 0.0F, 0.0F, 0.0F, SentNumber(rotation.x), SentNumber(-rotation.y),
                                     SentNumber(-rotation.z), SentNumber(rotation.w)});
}

} // namespace mien
