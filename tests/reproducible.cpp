// Solves 4000 frames of the synthetic performer, and shows as many on characters of all sizes and on
// clusters, and hashes the bits of every result. The hashes must be the ones below in every build: debug and
// release, GCC and Clang, shared and static; and on every processor and with every C library: rotations,
// clusters' scalings and the mouth solve by direction use sines, logarithms and similar functions, which is
// why the library has its own.
//
// A changed hash means that some result of the per-frame solves changed in at least its last bit, for
// all users of the library. Change it only together with an intended change of behaviour, record it
// in the changelog, and only when all builds agree on the new value. A build that disagrees with the others
// shows a dependence on compiler or flags (contraction, reassociation, a libm call), which is a defect of
// the library.

#include "mien/actor/actor_face.h"
#include "mien/character/character_face.h"
#include "mien/face/face.h"
#include "tests/character/characters.h"
#include "tests/face/face_access.h"
#include "tests/synthetic_performer.h"

#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>

namespace {

constexpr int kFrames = 4000;
constexpr std::uint64_t kExpected = 0x0851cd636a9012bc;
constexpr std::uint64_t kExpectedOfCharacters = 0xa5a68e2131f6973d;
constexpr std::uint64_t kExpectedOfClusters = 0x63530976d0335124;

// FNV-1a, 64 bits, over the values' bytes, least significant first.
class Hash {
public:
  void Add(double value) {
    Add(std::bit_cast<std::uint64_t>(value));
    ++mValues;
    if (!std::isfinite(value)) ++mNotFinite;
  }
  void Add(std::uint64_t bits) {
    for (int i = 0; i < 8; ++i, bits >>= 8) mHash = (mHash ^ (bits & 0xff)) * 0x100000001b3u;
  }
  void Add(const VgeTVector& v) { Add(v.x), Add(v.y), Add(v.z), Add(v.w); }
  void Add(const VgeAMatrix& matrix) {
    for (const auto& column : matrix.m)
      for (const double element : column) Add(element);
  }
  void Add(const VgeSVector& v) { Add(v.x), Add(v.y), Add(v.z); }
  void Add(const VgeRVector& v) { Add(v.x), Add(v.y), Add(v.z); }
  void Add(const VgeRMatrix& matrix) {
    for (const auto& column : matrix.m)
      for (const double element : column) Add(element);
  }
  void Add(const VCharacterFaceClusterState& cluster) {
    Add(cluster.mLocalT), Add(cluster.mLocalR), Add(cluster.mLocalS);
    Add(cluster.mGlobalT), Add(cluster.mGlobalR), Add(cluster.mGlobalS);
  }
  void Add(const VFaceState& state) {
    Add(state.mGlobal);
    for (const VFacePartState& part : state.mParts)
      for (const VgeTVector& point : part.mPoints) Add(point);
    Add(std::uint64_t{state.mValid});
  }
  void Add(const VFaceTemplateState& state) {
    for (const VFacePartTemplateState& part : state.mParts)
      for (const double weight : part.mWeights) Add(weight);
  }
  // The weights of the existing shapes, and the first one after them.
  void Add(const VCharacterFaceState& state, const VCharacterFace& character) {
    for (int p = 0; p < character.mParts.GetCount(); ++p)
      for (int s = 0; s <= character.mParts[p]->mShapes.GetCount() && s < 500; ++s) Add(state.mWeights[p][s]);
  }

  std::uint64_t Value() const { return mHash; }
  long Values() const { return mValues; }
  long NotFinite() const { return mNotFinite; }

private:
  std::uint64_t mHash = 0xcbf29ce484222325u;
  long mValues = 0, mNotFinite = 0;
};

// Twelve expressions of arbitrary weights.
void FillCatalogue(VFace& face) {
  tests::Random random(7);
  for (int k = 0; k < 12; ++k) {
    VFaceTemplateState& state = face.mExpressions[face.CreateExpression("Expression")]->mTemplateState;
    for (VFacePartTemplateState& part : state.mParts)
      for (double& weight : part.mWeights) weight = random.Between(-0.5, 1.5);
  }
}

// Fifteen characters, of 1 to 15 parts. Their definitions are as sparse as real ones, and every other
// expression is the character's own.
class Characters {
public:
  static constexpr int kCount = 15;

  Characters() {
    constexpr int kShapes[] = {52, 1, 150, 8, 0, 7, 500, 3, 499};
    for (int number = 0; number < kCount; ++number) {
      VCharacterFace& character = mCharacters[number];
      for (int p = 0; p <= number; ++p) tests::AddPart(character, kShapes[(number + p) % 9]);
      for (auto& states : character.mTemplateStates)
        for (int t = 0; t < states.GetCount(); ++t) Define(*states[t], character);
      for (int e = 0; e < character.mExpressionStates.GetCount(); e += 2)
        Define(*character.mExpressionStates[e], character);
      for (int k = 0; k < 5; ++k) {
        character.ExpressionCreate();
        Define(*character.mCharacterExpressionStates[k], character);
      }
    }
  }
  ~Characters() {
    for (VCharacterFace& character : mCharacters)
      while (character.mCharacterExpressionCount > 0) character.ExpressionDelete(0);
  }
  Characters(const Characters&) = delete;
  Characters& operator=(const Characters&) = delete;

  // Each frame belongs to one character, with all four solves.
  void Show(int number, const VFaceTemplateState& templates, const VFaceExpressionState& expressions,
            Hash& hash) {
    const VCharacterFace& character = mCharacters[number % kCount];
    VArrayTemplate<double, 16> own_weights;
    for (int k = 0; k < 5; ++k) own_weights.Add(mRandom.Between(-0.2, 1));
    character.Actor2CharacterSolve(mShown, templates, expressions);
    hash.Add(mShown, character);
    character.ActorTemplate2CharacterSolve(mShown, templates);
    hash.Add(mShown, character);
    character.ActorExpression2CharacterSolve(mShown, expressions);
    hash.Add(mShown, character);
    character.CharacterExpression2CharacterSolve(mShown, own_weights);
    hash.Add(mShown, character);
  }

private:
  void Define(VCharacterFaceState& state, const VCharacterFace& character) {
    for (int p = 0; p < character.mParts.GetCount(); ++p)
      for (int s = 0; s < character.mParts[p]->mShapes.GetCount(); ++s)
        if (mRandom.Between(0, 1) < 0.3) state.mWeights[p][s] = mRandom.Between(-0.5, 1.5);
  }

  tests::Random mRandom{9};
  VCharacterFace mCharacters[kCount];
  VCharacterFaceState mShown;
};

// Ten clusters, driven by six shapes that move, turn and scale them, under a root that does so too.
class Clusters {
public:
  static constexpr int kShapes = 6, kCount = 10;

  Clusters() : mPart(tests::AddClusterPart(mCharacter, kShapes, kCount)), mSet(kCount) {
    Place(mSet.mRoot.mGlobalT, mSet.mRoot.mGlobalR, mSet.mRoot.mGlobalS);
    for (int c = 0; c < kCount; ++c) {
      Place(*mPart.mRestClusters.mClusters[c]);
      for (int s = 0; s < kShapes; ++s) Place(*mPart.mShapeClusters[s]->mClusters[c]);
    }
  }

  // The solve with weights of which every third is 0, and the conversion of a rotation in all six orders.
  void Show(int number, Hash& hash) {
    for (int s = 0; s < kShapes; ++s)
      mState.mWeights[0][s] = (number + s) % 3 == 0 ? 0 : mRandom.Between(-0.5, 1.5);
    mCharacter.Character2ClusterSolve(&mSet, mState, 0);
    for (int c = 0; c < kCount; ++c) hash.Add(*mSet.mClusters[c]);

    const VgeRVector angles = Angles(400);
    for (int order = 0; order < 6; ++order) {
      VgeRMatrix rotation;
      VgeRVector back;
      VTxRotationOrder{order}.V2M(rotation, angles);
      VTxRotationOrder{order}.M2V(back, rotation);
      hash.Add(rotation), hash.Add(back);
    }
  }

private:
  VgeRVector Angles(double most) {
    const double x = mRandom.Between(-most, most), y = mRandom.Between(-most, most),
                 z = mRandom.Between(-most, most);
    return VgeRVector(x, y, z);
  }
  void Place(VgeTVector& translation, VgeRMatrix& rotation, VgeSVector& scaling) {
    const VgeRVector point = Angles(100);
    translation = {point.x, point.y, point.z};
    VTxRotationOrder().V2M(rotation, Angles(180));
    const double x = mRandom.Between(0.5, 2), y = mRandom.Between(0.5, 2), z = mRandom.Between(0.5, 2);
    scaling = VgeSVector(x, y, z);
  }
  void Place(VCharacterFaceClusterState& cluster) {
    Place(cluster.mLocalT, cluster.mLocalR, cluster.mLocalS);
  }

  tests::Random mRandom{10};
  VCharacterFace mCharacter;
  VCharacterFacePartCluster& mPart;
  VCharacterFaceClusterSetState mSet;
  VCharacterFaceState mState;
};

// How often a weight was strictly between 0 and 1: constant weights would prove nothing.
struct Movement {
  long between[9] = {};

  void Watch(const VFaceTemplateState& weights) {
    for (int part = 0; part < 9; ++part)
      for (const double weight : weights.mParts[part].mWeights) between[part] += weight > 0 && weight < 1;
  }
  bool OfEveryPart() const {
    for (const long count : between)
      if (count < kFrames / 10) return false;
    return true;
  }
};

} // namespace

int main() {
  const auto performer = std::make_unique<tests::SyntheticPerformer>();
  const auto face = std::make_unique<VFace>();
  FillCatalogue(*face);
  FillCatalogue(*GetGlobalFace()); // characters use this catalogue
  const auto characters = std::make_unique<Characters>();
  const auto clusters = std::make_unique<Clusters>();

  Hash hash, hash_of_characters, hash_of_clusters;
  Movement movement;
  const auto frame = std::make_unique<VFaceMarkerSetState>();
  VFaceState measured, rebuilt;
  VFaceTemplateState weights, from_expressions;
  VFaceExpressionState expressions;
  tests::Random random(8);
  for (int number = 0; number < kFrames; ++number) {
    performer->Film(number, *frame);
    performer->Actor().ReferenceFromRBMarker(frame.get(), &performer->Reference());
    performer->Actor().Actor2FaceSolve(&measured, frame.get());
    face->Face2TemplateSolve(&weights, &measured);
    face->Template2FaceSolve(&rebuilt, &weights);
    for (double& weight : expressions.mWeights) weight = random.Between(-0.2, 1);
    face->Expression2TemplateSolve(face->mExpressions, &from_expressions, &expressions);

    hash.Add(frame->mTransform);
    hash.Add(frame->mRBTransform);
    hash.Add(measured);
    hash.Add(weights);
    hash.Add(rebuilt);
    hash.Add(from_expressions);
    movement.Watch(weights);

    characters->Show(number, weights, expressions, hash_of_characters);

    clusters->Show(number, hash_of_clusters);
    VFaceTestAccess{*face}.Face2TemplateSolveMouth(&weights, &measured);
    for (const double weight : weights.mParts[0].mWeights) hash_of_clusters.Add(weight);
  }

  bool good = true;
  if (!movement.OfEveryPart()) {
    std::printf("some part almost never moves:");
    for (const long count : movement.between) std::printf(" %ld", count);
    std::printf("\n");
    good = false;
  }
  const auto Judge = [&good](const char* what, const Hash& found, std::uint64_t expected) {
    std::printf("%s: %d frames, %ld values, hash 0x%016" PRIx64 "\n", what, kFrames, found.Values(),
                found.Value());
    if (found.NotFinite() != 0) {
      std::printf("%ld values are not finite numbers, so nothing is shown to be reproducible\n",
                  found.NotFinite());
      good = false;
    }
    if (found.Value() != expected) {
      std::printf("expected 0x%016" PRIx64 ": a result differs in at least one bit\n", expected);
      good = false;
    }
  };
  Judge("performer", hash, kExpected);
  Judge("characters", hash_of_characters, kExpectedOfCharacters);
  Judge("clusters, rotations, mouth by direction", hash_of_clusters, kExpectedOfClusters);
  return good ? 0 : 1;
}
