#include "host/face/hair.h"

#include "host/face/head_form.h"

namespace mien {

void BuildHair(Surface& head) {
  // Where it ends, by the way around the head: 0 in front, 1 at the side, 2 behind.
  static const Spline hairline = {{0, 9.9},     {0.25, 9.8},  {0.45, 10.3}, {0.58, 12.2}, {0.68, 13.6},
                                  {0.76, 15.6}, {0.84, 19.0}, {0.92, 19.6}, {1.0, 17.3},  {1.1, 16.6},
                                  {1.2, 18.6},  {1.35, 21.8}, {1.6, 23.4},  {2.0, 23.8}};
  static const Spline thickness = {{0, 0.75},    {0.5, 0.72},  {0.8, 0.5},
                                   {0.93, 0.28}, {0.985, 0.1}, {1, -0.12}};
  constexpr std::size_t kRows = 14, kColumns = 43;
  constexpr Colour kDark = {0.05, 0.026, 0.018}, kLight = {0.10, 0.053, 0.036};
  Surface::Row above;
  for (std::size_t r = 0; r <= kRows; ++r) {
    const double share = static_cast<double>(r) / kRows,
                 row = share * (1.35 - 0.35 * share); // denser towards the edge
    Surface::Row next;
    for (std::size_t c = 0; c < kColumns; ++c) {
      const double around = 2.0 * static_cast<double>(c) / (kColumns - 1);
      const double down = row * hairline(around);
      // As on a circle: the share of the way to the widest place.
      const double toward = around <= 1 ? around : 2 - around;
      const double across = toward / std::sqrt(toward * toward + (1 - toward) * (1 - toward));
      const auto place = [&](double d) { return around <= 1 ? OnFront(d, across).at : OnBack(d, across); };
      const Vec at = place(down), centre = {0, 12.5, 8.2};
      const Vec out = at - centre;
      const double strand = (c % 3 == 1 ? 0.05 : 0.0) * Ramp(row, 0.15, 0.5);
      Vertex vertex{.at = at + ((thickness(row) + strand) / Length(out)) * out};
      if (c == 0 || c + 1 == kColumns) vertex.at.x = 0;
      for (std::size_t i = 0; i < 3; ++i) vertex.colour[i] = c % 3 == 1 ? kLight[i] : kDark[i];
      if (r == 0 && c > 0)
        next.push_back(next.front());
      else
        next.push_back(head.Add(vertex));
    }
    if (!above.empty()) head.AddBand(Material::Hair, above, next);
    above = next;
  }
}

} // namespace mien
