#include "host/face/ear.h"

#include "mien/base/elementary.h"

namespace mien {

void BuildEar(Surface& head) {
  constexpr Colour kEar = {0.66, 0.345, 0.24}, kShade = {0.40, 0.17, 0.12};
  struct Ring {
    double radius, out; // out of the head, in centimetres
    double shade;
  };
  // From the hollow of the ear over its rim and behind it into the head.
  constexpr Ring kRings[] = {{0.15, 0.05, 1},    {0.36, 0.12, 0.8}, {0.50, 0.42, 0.15}, {0.62, 0.55, 0},
                             {0.74, 0.45, 0.25}, {0.84, 0.52, 0.2}, {0.93, 0.80, 0},    {1.0, 0.82, 0},
                             {1.04, 0.68, 0},    {1.0, 0.5, 0},     {0.9, 0.3, 0.2},    {0.75, -1.1, 0.3}};
  constexpr std::size_t kSegments = 28;
  const Vec centre = {6.95, 7.75, 8.0};
  const Vec up = {0.16, 0.97, -0.2}, back = {0.30, -0.18, -0.93}, outwards = {0.9, -0.1, 0.28};
  const auto place = [&](const Ring& ring, double degrees) {
    const SineAndCosine at = SineAndCosineOfDegrees(degrees); // from the back upwards
    const double tall = at.sine > 0 ? 2.75 : 2.6;
    const double wide = (at.cosine > 0 ? 1.75 : 1.35) * (at.sine < 0 ? 1 + 0.12 * at.sine : 1);
    const double y = tall * at.sine * ring.radius, x = wide * at.cosine * ring.radius;
    const double front =
        Ramp(at.cosine, 0.0, -0.9) * Ramp(at.sine, -0.9, -0.3); // grown to the head before the hollow
    const double out = ring.out > 0 ? ring.out * (1 - 0.75 * front) + 0.15 * (1 - front) : ring.out;
    return centre + y * up + x * back + out * outwards;
  };
  Surface::Row inner(kSegments + 1, head.Add({.at = centre + 0.1 * outwards, .colour = kShade}));
  for (const Ring& ring : kRings) {
    Surface::Row outer;
    for (std::size_t i = 0; i < kSegments; ++i)
      outer.push_back(
          head.Add({.at = place(ring, 360.0 * static_cast<double>(i) / kSegments),
                    .colour = {Mix(kEar[0], kShade[0], ring.shade), Mix(kEar[1], kShade[1], ring.shade),
                               Mix(kEar[2], kShade[2], ring.shade)}}));
    outer.push_back(outer.front());
    head.AddBand(Material::Skin, inner, outer);
    inner = outer;
  }
}

} // namespace mien
