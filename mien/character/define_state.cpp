#include "mien/character/define_state.h"

#include "mien/face/face.h"

#include <bit>
#include <cstdint>
#include <memory>
#include <new>

namespace {

void AppendCleared(VArrayTemplate<VCharacterFaceState*, 16>& states, int count) {
  // An array that cannot grow loses its contents, so it grows once, before it contains anything new.
  const int before = states.GetCount();
  if (!states.SetCount(before + count)) throw std::bad_alloc();
  for (int i = before; i < before + count; ++i) states[i] = new VCharacterFaceState; // the rest are null
}

void Destroy(VArrayTemplate<VCharacterFaceState*, 16>& states) {
  for (int i = 0; i < states.GetCount(); ++i) delete states[i];
  states.Clear();
}

} // namespace

void VCharacterFace::SetupDefineState() { SetupDefineState(*GetGlobalFace()); }

void VCharacterFace::SetupDefineState(const VFace& face) {
  for (int f = 0; f < 9; ++f) AppendCleared(mTemplateStates[f], face.mParts[f].mTemplates.GetCount());
  AppendCleared(mExpressionStates, face.mExpressions.GetCount());
}

void VCharacterFace::ClearDefineState() {
  for (auto& states : mTemplateStates) Destroy(states);
  Destroy(mExpressionStates);
}

bool mien::detail::IsDefined(const VCharacterFace& character, int expression) {
  for (int p = 0; p < character.mParts.GetCount(); ++p) {
    const int shapes = character.mParts[p]->mShapes.GetCount();
    if (shapes == 0) continue; // then there may be no definition
    const double* const weights = character.mExpressionStates[expression]->mWeights[p];
    std::uint64_t bits = 0; // of all weights of the part together: a loop without an exit is vectorised
    for (int s = 0; s < shapes; ++s) bits |= std::bit_cast<std::uint64_t>(weights[s]);
    // The sign does not count: -0.0 equals 0. A NaN has other bits as well.
    if (bits << 1 != 0) return true;
  }
  return false;
}

void mien::detail::Terms::AddTemplates(const VCharacterFace& character, const VFace& face,
                                       const VFaceTemplateState& templates) {
  for (int f = 0; f < 9; ++f)
    for (int t = 0; t < face.mParts[f].mTemplates.GetCount(); ++t)
      Add(character.mTemplateStates[f][t], templates.mParts[f].mWeights[t]);
}

bool VCharacterFace::IsExpressionUsed(int expression) const {
  if (expression < 0 || expression >= GetGlobalFace()->mExpressions.GetCount()) return false;
  return mien::detail::IsDefined(*this, expression);
}

void VCharacterFace::ClearUsedExpression(VFaceExpressionState* weights) const {
  for (int e = 0; e < GetGlobalFace()->mExpressions.GetCount(); ++e)
    if (IsExpressionUsed(e)) weights->mWeights[e] = 0;
}
