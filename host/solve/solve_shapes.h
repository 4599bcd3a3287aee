#pragma once

#include "host/base/long_vector.h"
#include "host/fit/shape_basis.h"
#include "host/fit/shape_fit.h"
#include "host/performer/neutral.h"
#include "host/performer/performer.h"
#include "host/solve/fit_report.h"
#include "host/solve/solve_options.h"
#include "host/solve/solve_take.h"
#include "host/takes/take.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// Shape weights that come from the markers and not from templates.
struct FittedShapes {
  std::vector<std::string> names; ///< of the 52
  LongVector<double> weights;     ///< (size: frames x names)
  FitReport report;
};

/// What SolveShapes fits the frames of a take with: for these frames, or later ones of the same markers.
struct LearnedShapeFit {
  std::vector<std::string> markers; ///< in the order of the fit's points
  ShapeFit fit;
  std::vector<double> gains;        ///< against damping (size: the fit's shapes)
  std::vector<std::size_t> decided; ///< of the fit's shapes, those that are kept
  double most = 0;                  ///< a weight
  std::vector<std::string> names;   ///< of the 52 (size: decided)
  FitReport report;

  /// The weights of a frame (size: names) from the places of the markers in the head's frame (size: markers;
  /// nothing for a hidden one). Allocates nothing.
  void Solve(std::span<const std::optional<Point>> seen, std::span<double> weights);
};

/// Learns it from a solved take. `basis` and what it throws as for SolveShapes.
LearnedShapeFit LearnShapeFit(const SolvedTake& solved, const Take& take, const Performer& performer,
                              const Neutral& neutral, const SolveOptions& options,
                              const ShapeBasis* basis = nullptr);

/// Fits all of the 52 shapes that the markers show to all markers at once (ShapeFit), on a basis that is laid
/// onto the performer's neutral face (LayBasis).
///
/// Landmarks that a tracker found in video are trusted as they deserve: their depth, which is a guess, by
/// half; the contour of the jaw, which slides along the skin, by three tenths; and each eye and the mouth may
/// be shifted as a whole. Markers are trusted in full. A marker that is more than twice as noisy as the
/// others is trusted less.
///
/// Damping takes something from every weight, most from shapes that hardly move. Each is multiplied by what
/// gives it back to a shape that acts alone, at most by 1.5: more would amplify mistakes. So a shape at its
/// full strength reads about two thirds on average, on a face that the basis does not know.
///
/// The poses of a calibrated performer replace the basis (UseOwnPoses).
///
/// The inertia is that of a random walk: it grows with the rate of the take, and with the square of the
/// markers' noise above half a millimetre, to four times.
///
/// Left out are shapes of which the markers leave an uncertainty above 0.7, that is, half of the variance;
/// gaze, which lids only hint at; and `eyeBlink` and `eyeSquint` where the eyes have markers: there the
/// parts' templates, which measure lids against each other, follow as well or better on all takes.
///
/// Gaps are filled, and the weights smoothed, as the options ask. `basis` is null for the built-in ones: two
/// heads for landmarks, one for markers. Throws InputError as LayBasis does. `progress(done, total)` is
/// called before each frame.
FittedShapes SolveShapes(const SolvedTake& solved, const Take& take, const Performer& performer,
                         const Neutral& neutral, const SolveOptions& options,
                         const ShapeBasis* basis = nullptr,
                         const std::function<void(std::size_t done, std::size_t total)>& progress = nullptr);

} // namespace mien
