#include "mien/character/baked_shapes.h"

#include "mien/character/define_state.h"
#include "mien/character/frames_sum.h"
#include "mien/face/face.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace mien {

namespace {

// Of templates, and of expressions.
constexpr std::size_t kMostWeights = detail::Terms::kMost, kMostExpressions = 100;
// Solved together: for these, rows that all of them have at weight 0 are left out.
constexpr std::size_t kMostFrames = 16;

bool AllFinite(const double* numbers, std::size_t count) {
  return std::all_of(numbers, numbers + count, [](double x) { return std::isfinite(x); });
}

/// The weights of some frames, `count` each.
template <std::size_t MostWeights>
class WeightsOfFrames {
public:
  WeightsOfFrames(const double* first, std::size_t stride, std::size_t count, std::size_t frames)
      : first_(first), stride_(stride), frames_(frames) {
    std::fill_n(bits_, count, 0);
    for (std::size_t f = 0; f < frames; ++f)
      for (std::size_t i = 0; i < count; ++i) bits_[i] |= std::bit_cast<std::uint64_t>(first[f * stride + i]);
  }

  double At(std::size_t frame, std::size_t i) const { return first_[frame * stride_ + i]; }

  /// Whether a weight is 0 in all frames.
  bool IsZero(std::size_t i) const { return bits_[i] << 1 == 0; } // -0.0 is 0

  /// The rows that are to be summed with some of these weights.
  struct Terms {
    const double* rows[MostWeights];
    std::size_t elements[MostWeights];
    std::size_t count = 0;
  };

  /// Adds the row of a weight. Leaves it out if that changes nothing: 0 times a finite number is added to sums
  /// that start from 0.0.
  void Add(Terms& terms, std::size_t i, const double* row, bool is_finite) const {
    if (is_finite && IsZero(i)) return;
    terms.rows[terms.count] = row;
    terms.elements[terms.count] = i;
    ++terms.count;
  }

  detail::WeightedFrames Sum(const Terms& terms, std::size_t columns) const {
    return {terms.rows, terms.elements, terms.count, columns, first_, stride_, frames_};
  }

private:
  const double* first_;
  std::size_t stride_, frames_;
  std::uint64_t bits_[MostWeights]; // of all frames
};

} // namespace

BakedShapes::BakedShapes(const VCharacterFace& character, const VFace& face) {
  for (int p = 0; p < character.mParts.GetCount(); ++p)
    shapes_ += static_cast<std::size_t>(character.mParts[p]->mShapes.GetCount());
  lines_ = (shapes_ + 7) / 8;

  const auto add_row = [&](const VArrayTemplate<VCharacterFaceState*, 16>& states, int i) {
    is_finite_.push_back(true);
    if (shapes_ == 0) return; // then there may be no definition
    rows_.resize(rows_.size() + lines_);
    double* const row = rows_[rows_.size() - lines_].numbers;
    std::size_t column = 0;
    for (int p = 0; p < character.mParts.GetCount(); ++p)
      for (int s = 0; s < character.mParts[p]->mShapes.GetCount(); ++s)
        row[column++] = states[i]->mWeights[p][s];
    is_finite_.back() = AllFinite(row, shapes_);
  };
  for (int f = 0; f < 9; ++f)
    for (int t = 0; t < face.mParts[f].mTemplates.GetCount(); ++t) add_row(character.mTemplateStates[f], t);
  templates_ = is_finite_.size();
  of_defined_.resize(templates_);

  for (int e = 0; e < face.mExpressions.GetCount(); ++e) {
    defined_.push_back(detail::IsDefined(character, e));
    if (defined_.back()) add_row(character.mExpressionStates, e);
    for (int f = 0; f < 9; ++f) {
      const double* const weights = face.mExpressions[e]->mTemplateState.mParts[f].mWeights;
      through_.insert(through_.end(), weights, weights + face.mParts[f].mTemplates.GetCount());
    }
    const double* const through = through_.data() + through_.size() - templates_;
    through_is_finite_.push_back(AllFinite(through, templates_));
    if (!defined_.back()) continue;
    for (std::size_t t = 0; t < templates_; ++t) of_defined_[t] += 0 * through[t];
    defined_make_nan_ |= !through_is_finite_.back();
  }
}

void BakedShapes::Solve(double* shapes, const double* templates, const double* expressions,
                        std::size_t expressions_stride, std::size_t frames) const {
  if (shapes_ == 0) return;
  for (std::size_t f = 0; f < frames; f += kMostFrames)
    SolveSome(shapes + f * shapes_, templates + f * templates_, expressions + f * expressions_stride,
              expressions_stride, std::min(kMostFrames, frames - f));
}

// shapes = (sum over templates) + (sum over expressions), each summed separately from 0.0.
void BakedShapes::SolveSome(double* shapes, const double* templates, const double* expressions,
                            std::size_t expressions_stride, std::size_t frames) const {
  const auto row = [this](std::size_t i) { return rows_[i * lines_].numbers; };

  // An expression that the character does not define drives it through the templates. Its direct term is a
  // sum of zeros, which changes nothing unless the weight is infinite or NaN.
  using ExpressionWeights = WeightsOfFrames<kMostExpressions>;
  const ExpressionWeights of_expressions(expressions, expressions_stride, defined_.size(), frames);
  ExpressionWeights::Terms direct, through;
  for (std::size_t e = 0, i = templates_; e < defined_.size(); ++e)
    if (defined_[e]) {
      of_expressions.Add(direct, e, row(i), is_finite_[i]);
      ++i;
    } else {
      of_expressions.Add(through, e, &through_[e * templates_], through_is_finite_[e]);
    }

  double sums[kMostFrames * kMostWeights];
  if (through.count > 0 || defined_make_nan_) {
    for (std::size_t f = 0; f < frames; ++f)
      for (std::size_t t = 0; t < templates_; ++t) {
        double sum = of_defined_[t];
        for (std::size_t k = 0; k < through.count; ++k)
          sum += of_expressions.At(f, through.elements[k]) * through.rows[k][t];
        sums[f * templates_ + t] = templates[f * templates_ + t] + sum;
      }
    templates = sums;
  }

  using TemplateWeights = WeightsOfFrames<kMostWeights>;
  const TemplateWeights of_templates(templates, templates_, templates_, frames);
  TemplateWeights::Terms all;
  for (std::size_t t = 0; t < templates_; ++t) of_templates.Add(all, t, row(t), is_finite_[t]);
  detail::SumFrames(shapes, shapes_, of_templates.Sum(all, shapes_), false);
  // No sum is -0.0, so adding 0.0 would change nothing.
  if (direct.count > 0) detail::SumFrames(shapes, shapes_, of_expressions.Sum(direct, shapes_), true);

  for (std::size_t e = 0; e < defined_.size(); ++e) {
    if (defined_[e] || of_expressions.IsZero(e)) continue;
    for (std::size_t f = 0; f < frames; ++f)
      if (!std::isfinite(of_expressions.At(f, e)))
        std::fill_n(shapes + f * shapes_, shapes_, std::numeric_limits<double>::quiet_NaN());
  }
}

} // namespace mien
