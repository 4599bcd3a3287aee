#include "host/face/neck.h"

#include "host/face/skin.h"
#include "mien/base/elementary.h"

namespace mien {

Surface MakeNeck() {
  struct Outline {
    double y, front, width, middle, back; // back: how far the shoulders' middle is before the nape
  };
  constexpr Outline kOutlines[] = {
      {3.4, 10.0, 3.9, 6.8, 3.2},    {1.5, 10.5, 4.1, 6.6, 2.7},    {0, 10.6, 4.15, 6.5, 2.4},
      {-1.5, 10.65, 4.2, 6.4, 2.1},  {-3, 10.75, 4.3, 6.2, 1.8},    {-4.4, 10.9, 4.65, 6.0, 1.4},
      {-5.6, 11.2, 5.6, 5.9, 1.0},   {-6.5, 11.6, 7.2, 5.9, 0.6},   {-7.2, 12.1, 9.0, 6.0, 0.1},
      {-7.9, 12.6, 10.4, 6.1, -0.4}, {-8.8, 13.1, 11.2, 6.2, -0.9}, {-10, 13.5, 11.5, 6.2, -1.2},
      {-10.4, 13.3, 11.3, 6.2, -1.0}};
  constexpr std::size_t kAround = 24;
  Surface neck;
  Surface::Row above;
  for (const auto& [y, front, width, middle, back] : kOutlines) {
    Surface::Row row;
    for (std::size_t i = 0; i <= kAround; ++i) {
      const SineAndCosine turn = SineAndCosineOfDegrees(180.0 * static_cast<double>(i) / kAround);
      const double z = middle + turn.cosine * (turn.cosine > 0 ? front - middle : middle - back);
      row.push_back(
          neck.Add({.at = {width * turn.sine, y - 1.2 * Ramp(y, -4.5, -7) * Ramp(turn.cosine, 0, 1), z},
                    .colour = kSkinTone}));
    }
    if (!above.empty()) neck.AddBand(Material::Skin, above, row);
    above = row;
  }
  neck.AddBand(Material::Skin, above,
               Surface::Row(kAround + 1, neck.Add({.at = {0, -11, 6.2}, .colour = kSkinTone})));
  return neck;
}

} // namespace mien
