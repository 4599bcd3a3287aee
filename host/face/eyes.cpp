#include "host/face/eyes.h"

#include "host/face/head_form.h"
#include "mien/base/elementary.h"

namespace mien {

namespace {

constexpr Colour kHair = {0.075, 0.04, 0.028};

} // namespace

void BuildBrow(Surface& head) {
  static const Spline height = {{1.2, 11.6},  {2.2, 11.8}, {3.4, 11.97},
                                {4.3, 11.88}, {5.1, 11.5}, {5.7, 11.05}};
  static const Spline half_width = {{1.2, 0.10}, {1.5, 0.22}, {2.4, 0.27}, {3.4, 0.26},
                                    {4.4, 0.20}, {5.2, 0.12}, {5.7, 0.02}};
  // Across the brow: the share of its half width, and how far it stands out.
  constexpr double kAcross[][2] = {{1, -0.06}, {0.75, 0.09}, {0, 0.14}, {-0.75, 0.10}, {-1, -0.06}};
  constexpr std::size_t kSections = 19;
  std::vector<Surface::Row> rows;
  for (const auto& [share, out] : kAcross) {
    Surface::Row row;
    for (std::size_t i = 0; i < kSections; ++i) {
      const double x = 1.2 + 4.5 * static_cast<double>(i) / (kSections - 1);
      const double y = height(x) + share * half_width(x);
      Vec at = SkinAt(26.6 - y - 0.12 * x * x / 9, x);
      const double outwards = out * Ramp(half_width(x), -0.05, 0.2);
      at += outwards * Vec{0.05 * x, 0, 1 - 0.06 * x};
      row.push_back(head.Add({.at = at, .colour = kHair}));
    }
    rows.push_back(row);
  }
  for (std::size_t r = 1; r < rows.size(); ++r) head.AddBand(Material::Hair, rows[r - 1], rows[r]);
}

void BuildLashes(Surface& head, const LidEdges& edges) {
  Surface::Row root, tip;
  for (std::size_t i = 0; i < edges.upper.size(); ++i) {
    Vertex vertex = head.vertices[edges.upper[i]];
    vertex.colour = kHair;
    const double along = static_cast<double>(i) / static_cast<double>(edges.upper.size() - 1);
    const Vec out = vertex.at - kEye;
    vertex.at += (0.012 / Length(out)) * out;
    root.push_back(head.Add(vertex));
    const double length = 0.07 + 0.24 * Ramp(along, 0, 0.8) * Ramp(along, 1.25, 0.9);
    vertex.at += length * Vec{0.55 * (along - 0.4), 0.45, 0.85};
    tip.push_back(head.Add(vertex));
  }
  head.AddBand(Material::Hair, tip, root);
}

Surface MakeEyeball() {
  struct Ring {
    double degrees; // from where it looks
    Colour colour;
  };
  constexpr Colour kPupil = {0.004, 0.004, 0.005}, kDeep = {0.035, 0.10, 0.15}, kLight = {0.10, 0.27, 0.34},
                   kLimbus = {0.015, 0.035, 0.05}, kWhite = {0.80, 0.79, 0.77}, kRed = {0.62, 0.40, 0.36};
  constexpr Ring kRings[] = {{5, kPupil},    {9.6, kPupil}, {10.6, kDeep}, {14, kLight},
                             {19, kLight},   {23, kDeep},   {25, kLimbus}, {27, kLimbus},
                             {29.2, kWhite}, {36, kWhite},  {46, kWhite},  {60, kWhite},
                             {75, kRed},     {95, kRed},    {125, kRed},   {155, kRed}};
  constexpr std::size_t kSegments = 32;
  Surface eye;
  const auto ring_at = [&](double degrees, const Colour& colour) {
    const SineAndCosine from_front = SineAndCosineOfDegrees(degrees);
    Surface::Row row;
    for (std::size_t i = 0; i < kSegments; ++i) {
      const SineAndCosine around = SineAndCosineOfDegrees(360.0 * static_cast<double>(i) / kSegments);
      const double r = kEyeRadius * from_front.sine;
      row.push_back(eye.Add(
          {.at = {r * around.cosine, r * around.sine, kEyeRadius * from_front.cosine}, .colour = colour}));
    }
    row.push_back(row.front());
    return row;
  };
  Surface::Row inner(kSegments + 1, eye.Add({.at = {0, 0, kEyeRadius}, .colour = kPupil}));
  for (const auto& [degrees, colour] : kRings) {
    const Surface::Row outer = ring_at(degrees, colour);
    eye.AddBand(Material::Skin, inner, outer);
    inner = outer;
  }
  eye.AddBand(Material::Skin, inner,
              Surface::Row(kSegments + 1, eye.Add({.at = {0, 0, -kEyeRadius}, .colour = kRed})));
  return eye;
}

} // namespace mien
