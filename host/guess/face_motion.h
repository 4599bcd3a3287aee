#pragma once

#include "host/takes/take.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mien {

/// The markers of a take relative to the rigid part of a face, in up to 500 evenly spread frames.
class FaceMotion {
public:
  /// `face`: indices of the markers on the face, of which most hold still more often than not. The take must
  /// outlive this.
  FaceMotion(const Take& take, const std::vector<std::size_t>& face);

  /// Where a marker is in the median, and how far it strays from there in nine of ten frames, per axis.
  struct Rest {
    VgeTVector place;
    double spread_mm;
  };

  /// Over all frames. Nothing for a marker that is never visible with the face.
  std::optional<Rest> Of(std::size_t marker) const;

  /// Where these markers are after the transform `to`, in the median (per axis) of the frames in which those
  /// of `low` are highest along its y, on average: for a jaw, with the mouth closed. That is the highest
  /// third of the frames. A marker that none of them shows has the median of all.
  std::vector<VgeTVector> PlacesAtTop(const std::vector<std::size_t>& markers,
                                      const std::vector<std::size_t>& low, const VgeAMatrix& to) const;

  /// The correlation of two markers' motion along `way`, in frames that show both; nothing if one of them
  /// moves by less than half a millimetre (standard deviation).
  std::optional<double> Correlation(std::size_t a, std::size_t b, const VgeTVector& way) const;

private:
  std::optional<VgeTVector> At(std::size_t i, std::size_t marker) const;
  std::optional<VgeTVector> MedianPlace(std::size_t marker, const std::vector<bool>& use,
                                        const VgeAMatrix& to) const;

  const Take& take_;
  std::vector<std::size_t> frames_;
  std::vector<VgeAMatrix> to_face_; // size: frames
};

} // namespace mien
