#include "mien/face/expression_state.h"

#include <algorithm>
#include <iterator>

void VFaceExpressionState::Clear() {
  for (double& weight : mWeights) weight = 0;
}

void VFaceExpressionState::Copy(const VFaceExpressionState& other) {
  std::copy(std::begin(other.mWeights), std::end(other.mWeights), mWeights);
}
