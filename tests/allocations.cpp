// The per-frame calls of the library allocate nothing. The tests count every allocation of the process, the
// library's own included: this executable's definitions of operator new and of the malloc family take the
// place of all others.
//
// Under AddressSanitizer the sanitizer's allocator is not replaced; it reports each allocation to a hook.

#include "mien/actor/actor_face.h"
#include "mien/batch/face_batch.h"
#include "mien/character/baked_clusters.h"
#include "mien/character/baked_shapes.h"
#include "mien/character/character_face.h"
#include "mien/character/expression_sum.h"
#include "mien/face/face.h"
#include "tests/character/characters.h"
#include "tests/synthetic_performer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define UNDER_ADDRESS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define UNDER_ADDRESS_SANITIZER
#endif

namespace {

// Volatile, because compilers know malloc and assume that it changes no variable of this program.
volatile bool counting = false;
volatile int allocations = 0;

void Count() {
  if (counting) allocations = allocations + 1;
}

} // namespace

#if defined(UNDER_ADDRESS_SANITIZER)

// From the sanitizer's runtime; GCC comes without the header that declares it.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*,
                                                                             std::size_t),
                                                         void (*free_hook)(const volatile void*));

namespace {

[[maybe_unused]] const int hooks_installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { Count(); }, [](const volatile void*) {});

} // namespace

#else

// glibc's own allocator under the names that survive the replacement. Visible, so that shared libraries call
// it too.
#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) noexcept { return Count(), __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) noexcept { return Count(), __libc_calloc(count, size); }
void* realloc(void* block, std::size_t size) noexcept { return Count(), __libc_realloc(block, size); }
void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return Count(), __libc_memalign(alignment, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return Count(), __libc_memalign(alignment, size);
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  Count();
  void* const allocated = __libc_memalign(alignment, size);
  if (!allocated) return ENOMEM;
  *block = allocated;
  return 0;
}
void free(void* block) noexcept { __libc_free(block); }
}

// The forms that are not replaced (arrays, aligned, nothrow) call these or the malloc family.
void* operator new(std::size_t size) {
  Count();
  if (void* const block = __libc_malloc(size != 0 ? size : 1)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { __libc_free(block); }
void operator delete(void* block, std::size_t) noexcept { __libc_free(block); }
#pragma GCC visibility pop

#endif

namespace {

template <class Call>
int AllocationsOf(Call call) {
  allocations = 0;
  counting = true;
  call();
  counting = false;
  return allocations;
}

// Keeps the optimiser from removing an unused allocation.
void* volatile escaped;

struct alignas(64) OverAligned {
  char bytes[64];
};

// The counter itself: it counts every allocation, and nothing else.
TEST(AllocationCounter, CountsEveryKindOfAllocation) {
  EXPECT_EQ(AllocationsOf([] {}), 0);
  EXPECT_EQ(AllocationsOf([] {
              const std::vector<int> numbers(100);
              escaped = const_cast<int*>(numbers.data());
            }),
            1);
  EXPECT_EQ(AllocationsOf([] {
              escaped = std::malloc(100);
              std::free(escaped);
            }),
            1);
  EXPECT_EQ(AllocationsOf([] {
              escaped = std::calloc(10, 10);
              escaped = std::realloc(escaped, 1000);
              std::free(escaped);
            }),
            2);
  EXPECT_EQ(AllocationsOf([] {
              escaped = std::aligned_alloc(64, 128);
              std::free(escaped);
            }),
            1);
  EXPECT_EQ(AllocationsOf([] {
              OverAligned* const aligned = new OverAligned;
              escaped = aligned;
              delete aligned;
            }),
            1);
  EXPECT_EQ(AllocationsOf([] {
              OverAligned* const array = new (std::nothrow) OverAligned[3];
              escaped = array;
              delete[] array;
            }),
            1);
}

// The library's own calls of operator new and of the malloc family go through the counter too, also from
// inside a shared library.
TEST(AllocationCounter, CountsTheLibrarysAllocations) {
  VFace face;
  EXPECT_GE(AllocationsOf([&] { face.CreateExpression("Smile"); }),
            2); // the expression, and room in the catalogue
  VArrayTemplate<VFaceExpression*, 16> list;
  EXPECT_EQ(AllocationsOf([&] { list.Add(nullptr); }), 1);
}

class PerFrame : public testing::Test {
protected:
  static constexpr int kFrames = 300;

  PerFrame() {
    for (int k = 0; k < 99; ++k) {
      VFaceTemplateState& state = face.mExpressions[face.CreateExpression("Expression")]->mTemplateState;
      state.mParts[k % 9].mWeights[k % 7] = 1;
    }
    for (double& weight : expressions.mWeights) weight = 0.5;
  }

  // Each frame is recorded, then `before` prepares, and only `call` is counted.
  template <class Before, class Call>
  int AllocationsOverTheFrames(Before before, Call call) {
    int sum = 0;
    for (int number = 0; number < kFrames; ++number) {
      performer.Film(number, frame);
      before();
      sum += AllocationsOf(call);
    }
    return sum;
  }

  void Stabilise() { actor.ReferenceFromRBMarker(&frame, &performer.Reference()); }
  void Measure() { Stabilise(), actor.Actor2FaceSolve(&states[0], &frame); }

  tests::SyntheticPerformer performer;
  VActorFace& actor = performer.Actor();
  VFace face;
  VFaceMarkerSetState frame, local;
  VFaceState states[3], result;
  VFaceTemplateState template_states[3], template_result;
  VFaceExpressionState expressions;
};

TEST_F(PerFrame, PerformerHasMarkersOnEveryPart) {
  EXPECT_EQ(performer.MarkerCount(), 45);
  for (const VActorFacePart& part : actor.mParts) EXPECT_GT(part.GetMarkerCount(), 0);
  EXPECT_EQ(performer.Reference().mRBValid, 1);
}

TEST_F(PerFrame, ReferenceFromRBMarkerAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames([] {}, [this] { Stabilise(); }), 0);
  EXPECT_EQ(frame.mRBValid, 1);
}

TEST_F(PerFrame, Actor2FaceSolveAllocatesNothing) {
  EXPECT_EQ(
      AllocationsOverTheFrames([this] { Stabilise(); }, [this] { actor.Actor2FaceSolve(&result, &frame); }),
      0);
  EXPECT_TRUE(result.mValid);
}

TEST_F(PerFrame, ComputeGlobalPositionAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames([this] { Stabilise(); },
                                     [this] { actor.ComputeGlobalPosition(&local, &frame, 225); }),
            0);
  EXPECT_NE(local.mPositions[44].y, 0);
}

TEST_F(PerFrame, Face2TemplateSolveAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames([this] { Measure(); },
                                     [this] { face.Face2TemplateSolve(&template_result, &states[0]); }),
            0);
  EXPECT_TRUE(template_result.IsDefined());
}

TEST_F(PerFrame, Template2FaceSolveAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames(
                [this] { Measure(), face.Face2TemplateSolve(&template_states[0], &states[0]); },
                [this] { face.Template2FaceSolve(&result, &template_states[0]); }),
            0);
  EXPECT_NE(result.mParts[0].mPoints[0].x, 0);
}

TEST_F(PerFrame, SetToDefaultStateAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames([] {}, [this] { face.SetToDefaultState(&result); }), 0);
  EXPECT_NE(result.mParts[0].mPoints[0].x, 0);
}

TEST_F(PerFrame, FaceBatchAllocatesNothing) {
  constexpr std::size_t kBatch = 21; // no multiple of a vector
  std::vector<VFaceMarkerSetState> film(kBatch);
  std::vector<VFaceState> points(kBatch);
  std::vector<double> weights(kBatch * mien::FaceBatch::kTemplates), residuals(kBatch * 9);
  for (std::size_t f = 0; f < kBatch; ++f) performer.Film(static_cast<int>(f), film[f]);
  const mien::FaceBatch batch(actor, face, performer.Reference());
  constexpr std::ptrdiff_t kSet = sizeof(VFaceMarkerSetState) / sizeof(double);
  constexpr std::ptrdiff_t kState = sizeof(VFaceState) / sizeof(double);
  double* const point = &points[0].mParts[0].mPoints[0].x;
  EXPECT_EQ(AllocationsOf([&] {
              batch.Solve({.frames = kBatch,
                           .markers = {&film[0].mPositions[0].x, kSet, 4},
                           .head_markers = {&film[0].mRBPositions[0].x, kSet, 4},
                           .heads = {}},
                          {.heads = {&points[0].mGlobal.m[0][0], kState},
                           .head_valid = nullptr,
                           .points = {point, kState, 4},
                           .weights = {weights.data(), mien::FaceBatch::kTemplates}});
              batch.Residuals(kBatch, {point, kState, 4}, {weights.data(), mien::FaceBatch::kTemplates},
                              {residuals.data(), 9});
            }),
            0);
  EXPECT_NE(weights.back(), 0);
  EXPECT_NE(residuals.back(), 0);
}

// Weights for each branch of the blend: skipped, unscaled, scaled.
TEST_F(PerFrame, FaceStateBlendAllocatesNothing) {
  VFaceBlendState blend;
  blend.mWeights[1] = 0, blend.mWeights[2] = 0.5;
  EXPECT_EQ(
      AllocationsOverTheFrames([this] { Measure(); }, [&] { face.FaceStateBlend(&result, states, &blend); }),
      0);
  EXPECT_NE(result.mParts[0].mPoints[0].x, 0);
}

TEST_F(PerFrame, TemplateStateBlendAllocatesNothing) {
  VFaceBlendState blend;
  blend.mWeights[1] = 0, blend.mWeights[2] = 0.5;
  EXPECT_EQ(AllocationsOverTheFrames(
                [this] { Measure(), face.Face2TemplateSolve(&template_states[0], &states[0]); },
                [&] { face.TemplateStateBlend(&template_result, template_states, &blend); }),
            0);
  EXPECT_TRUE(template_result.IsDefined());
}

TEST_F(PerFrame, Expression2TemplateSolveAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames(
                [] {},
                [this] { face.Expression2TemplateSolve(face.mExpressions, &template_result, &expressions); }),
            0);
  EXPECT_TRUE(template_result.IsDefined());
}

// A character of three parts, one of them with clusters, on a global face with a full catalogue: every other
// expression has a definition, the others go through the templates.
class PerFrameCharacter : public testing::Test {
protected:
  static constexpr int kFrames = 30, kClusters = 5;

  PerFrameCharacter() {
    for (int e = 0; e < 99; ++e) catalogue.Add().mParts[e % 9].mWeights[0] = 1;
    character = std::make_unique<VCharacterFace>(); // with states for the catalogue
    tests::AddPart(*character, 52);
    tests::AddPart(*character, 7);
    VCharacterFacePartCluster& part = tests::AddClusterPart(*character, 4, kClusters);
    for (int s = 0; s < 4; ++s)
      for (int c = 0; c < kClusters; ++c)
        part.mShapeClusters[s]->mClusters[c]->mLocalT = {1.0 + s, 2.0 + c, 3};
    for (int c = 0; c < kClusters; ++c) sets[2].mClusters.Add(new VCharacterFaceClusterState);

    for (auto& states : character->mTemplateStates)
      for (int t = 0; t < states.GetCount(); ++t) tests::FillWeights(*states[t], 0.5);
    for (int e = 0; e < 99; e += 2) tests::FillWeights(*character->mExpressionStates[e], 0.5);
    for (int k = 0; k < 300; ++k) { // more than a face can have
      character->ExpressionCreate();
      tests::FillWeights(*character->mCharacterExpressionStates[k], 0.5);
      own_weights.Add(0.01);
    }
    for (VFacePartTemplateState& part_weights : templates.mParts)
      for (double& weight : part_weights.mWeights) weight = 0.25;
    for (double& weight : expressions.mWeights) weight = 0.5;
  }

  ~PerFrameCharacter() override {
    while (character->mCharacterExpressionCount > 0) character->ExpressionDelete(0);
  }

  template <class Call>
  int AllocationsOverTheFrames(Call call) {
    int sum = 0;
    for (int number = 0; number < kFrames; ++number) {
      expressions.mWeights[number] = templates.mParts[0].mWeights[0] = 1.0 / (1 + number);
      sum += AllocationsOf(call);
    }
    return sum;
  }

  tests::CatalogueOnLoan catalogue;
  std::unique_ptr<VCharacterFace> character;
  VCharacterFaceState result;
  VCharacterFaceClusterSetState sets[3];
  VFaceTemplateState templates;
  VFaceExpressionState expressions;
  VArrayTemplate<double, 16> own_weights;
};

TEST_F(PerFrameCharacter, ActorTemplate2CharacterSolveAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames([this] { character->ActorTemplate2CharacterSolve(result, templates); }),
            0);
  EXPECT_NE(result.mWeights[0][51], 0);
}

TEST_F(PerFrameCharacter, ActorExpression2CharacterSolveAllocatesNothing) {
  EXPECT_EQ(
      AllocationsOverTheFrames([this] { character->ActorExpression2CharacterSolve(result, expressions); }),
      0);
  EXPECT_NE(result.mWeights[0][51], 0);
}

TEST_F(PerFrameCharacter, Actor2CharacterSolveAllocatesNothing) {
  EXPECT_TRUE(character->IsExpressionUsed(0));
  EXPECT_FALSE(character->IsExpressionUsed(1));
  EXPECT_EQ(
      AllocationsOverTheFrames([this] { character->Actor2CharacterSolve(result, templates, expressions); }),
      0);
  EXPECT_NE(result.mWeights[0][51], 0);
}

// Its construction, which Actor2CharacterSolve does in each frame, allocates nothing either.
TEST_F(PerFrameCharacter, ExpressionSumAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames([this] {
              const mien::ExpressionSum sum(*character, *GetGlobalFace());
              sum.Solve(result, templates, expressions);
            }),
            0);
  EXPECT_NE(result.mWeights[0][51], 0);
}

TEST_F(PerFrameCharacter, CharacterExpression2CharacterSolveAllocatesNothing) {
  EXPECT_EQ(AllocationsOverTheFrames(
                [this] { character->CharacterExpression2CharacterSolve(result, own_weights); }),
            0);
  EXPECT_NE(result.mWeights[0][51], 0);
}

TEST_F(PerFrameCharacter, Character2ClusterSolveAllocatesNothing) {
  character->ActorTemplate2CharacterSolve(result, templates);
  EXPECT_EQ(AllocationsOverTheFrames([this] { character->Character2ClusterSolve(sets, result); }), 0);
  EXPECT_NE(sets[2].mClusters[4]->mGlobalT.x, 0);
}

TEST_F(PerFrameCharacter, Character2ClusterSolveOfOnePartAllocatesNothing) {
  character->ActorTemplate2CharacterSolve(result, templates);
  EXPECT_EQ(AllocationsOverTheFrames([this] { character->Character2ClusterSolve(&sets[2], result, 2); }), 0);
  EXPECT_NE(sets[2].mClusters[4]->mGlobalT.x, 0);
}

// 17 frames, of which each has other weights; half of the expressions go through the templates.
TEST_F(PerFrameCharacter, BakedShapesAllocateNothing) {
  const mien::BakedShapes baked(*character, *GetGlobalFace());
  std::vector<double> template_weights(17 * baked.Templates(), 0.25), shapes(17 * baked.Shapes()),
      expression_weights(17 * baked.Expressions(), 0.5);
  EXPECT_EQ(AllocationsOverTheFrames([&] {
              template_weights[0] = expressions.mWeights[0];
              baked.Solve(shapes.data(), template_weights.data(), expression_weights.data(),
                          baked.Expressions(), 17);
            }),
            0);
  EXPECT_NE(shapes.back(), 0);
}

TEST_F(PerFrameCharacter, BakedClustersAllocateNothing) {
  const mien::BakedClusters baked(*character);
  character->ActorTemplate2CharacterSolve(result, templates);
  EXPECT_EQ(AllocationsOverTheFrames([&] { baked.Solve(sets, result); }), 0);
  EXPECT_NE(sets[2].mClusters[4]->mGlobalT.x, 0);
}

} // namespace
