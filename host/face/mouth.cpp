#include "host/face/mouth.h"

#include "mien/base/elementary.h"

namespace mien {

namespace {

constexpr Colour kTooth = {0.82, 0.77, 0.66}, kBetween = {0.50, 0.40, 0.30}, kGum = {0.48, 0.14, 0.13},
                 kTongue = {0.55, 0.16, 0.15};

void BuildRow(Surface& head, bool upper) {
  // Between the teeth, from the middle on.
  constexpr double kUpper[] = {0, 0.44, 0.78, 1.13, 1.46, 1.8, 2.1},
                   kLower[] = {0, 0.29, 0.6, 0.95, 1.28, 1.62, 1.95};
  struct Level {
    double y, back;
    Colour colour;
  };
  constexpr Level kLevels[] = {{0.95, 0.06, kGum},   {0.66, 0, kGum},     {0.60, 0, kTooth},
                               {0.3, -0.05, kTooth}, {0.06, 0.0, kTooth}, {0.0, 0.09, kTooth},
                               {0.05, 0.22, kTooth}, {0.6, 0.35, kTooth}};
  const double(&edges)[7] = upper ? kUpper : kLower;
  const double edge_y = upper ? 2.48 : 2.56, front = upper ? 17.9 : 17.68, sign = upper ? 1 : -1;
  std::vector<Surface::Row> rows;
  for (const Level& level : kLevels) {
    Surface::Row row;
    for (std::size_t tooth = 0; tooth < 7; ++tooth)
      for (const double on : {0.0, 0.2, 0.8}) {
        if (tooth == 6 && on > 0) break;
        const double x = tooth < 6 ? Mix(edges[tooth], edges[tooth + 1], on) : edges[6];
        const double rounding = on == 0 ? 0.07 : 0;
        const double dent = on == 0 ? 0.08 : 0;
        const double y = edge_y + sign * (level.y + (level.y < 0.5 ? rounding : 0));
        row.push_back(head.Add({.at = {x, y, front - 0.36 * x * x - level.back - dent},
                                .colour = level.colour == kGum ? kGum
                                          : on == 0            ? kBetween
                                                               : kTooth,
                                .tissue = upper ? Tissue::UpperTeeth : Tissue::LowerTeeth}));
      }
    rows.push_back(row);
  }
  for (std::size_t r = 1; r < rows.size(); ++r)
    upper ? head.AddBand(Material::Teeth, rows[r - 1], rows[r])
          : head.AddBand(Material::Teeth, rows[r], rows[r - 1]);
}

} // namespace

void BuildTeeth(Surface& head) {
  for (const bool upper : {true, false}) BuildRow(head, upper);
}

void BuildTongue(Surface& head) {
  struct Section {
    double z, top, bottom, half_width;
  };
  constexpr Section kSections[] = {{17.2, 2.02, 1.72, 0.5}, {17.0, 2.14, 1.6, 0.85},  {16.5, 2.24, 1.5, 1.15},
                                   {15.8, 2.32, 1.5, 1.3},  {14.8, 2.42, 1.45, 1.45}, {13.5, 2.3, 1.4, 1.5},
                                   {12.2, 1.9, 1.3, 1.4}};
  constexpr std::size_t kAround = 8;
  Surface::Row before(kAround + 1,
                      head.Add({.at = {0, 1.87, 17.28}, .colour = kTongue, .tissue = Tissue::Tongue}));
  for (const auto& [z, top, bottom, half_width] : kSections) {
    Surface::Row row;
    for (std::size_t i = 0; i <= kAround; ++i) {
      const SineAndCosine turn = SineAndCosineOfDegrees(180.0 * static_cast<double>(i) / kAround);
      const double groove =
          0.1 * Bell(half_width * turn.sine / 0.4) * (turn.cosine > 0 ? 1 : 0) * Ramp(z, 17.2, 16.5);
      row.push_back(
          head.Add({.at = {half_width * turn.sine, Mix(bottom, top, 0.5 + 0.5 * turn.cosine) - groove, z},
                    .colour = kTongue,
                    .tissue = Tissue::Tongue}));
    }
    head.AddBand(Material::Tongue, row, before);
    before = row;
  }
}

} // namespace mien
