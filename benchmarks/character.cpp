#include "benchmarks/character.h"

#include "benchmarks/compare.h"
#include "benchmarks/eigen_character.h"
#include "benchmarks/matrix_vector.h"
#include "mien/character/baked_clusters.h"
#include "mien/character/baked_shapes.h"
#include "mien/character/weighted_sum.h"

#include <algorithm>
#include <cblas.h>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace benchmarks {
namespace {

constexpr int kOwnExpressions[] = {2, 3, 7}; // those of the ten that characters define

class Numbers {
public:
  double Between(double low, double high) {
    return low + (high - low) * (static_cast<double>(engine_()) / static_cast<double>(engine_.max()));
  }

private:
  std::minstd_rand engine_{3};
};

/// Irregular rotations of up to 20 degrees about each axis, so that the rotation between two is far from a
/// pole.
void Place(VCharacterFaceClusterSetState& set, int clusters, Numbers& numbers) {
  for (int c = 0; c < clusters; ++c) {
    auto cluster = std::make_unique<VCharacterFaceClusterState>();
    const auto between = [&](double low, double high) {
      const double x = numbers.Between(low, high), y = numbers.Between(low, high),
                   z = numbers.Between(low, high);
      return VgeTVector{x, y, z};
    };
    cluster->mLocalT = between(-5, 5);
    VTxRotationOrder().V2M(cluster->mLocalR, between(-20, 20));
    const VgeTVector scaling = between(0.5, 2);
    cluster->mLocalS = VgeSVector(scaling.x, scaling.y, scaling.z);
    set.mClusters.Add(cluster.release());
  }
}

void AddShapes(VCharacterFacePart& part, int count) {
  for (int s = 0; s < count; ++s) part.mShapes.Add(new VCharacterFaceShape);
}

std::unique_ptr<VCharacterFacePartCluster> ClusterPart(int shapes, int clusters) {
  Numbers numbers;
  auto part = std::make_unique<VCharacterFacePartCluster>("Clusters");
  AddShapes(*part, shapes);
  Place(part->mRestClusters, clusters, numbers);
  for (int s = 0; s < shapes; ++s) {
    part->mShapes[s]->mDrivesClusters = true;
    part->mShapeClusters.Add(new VCharacterFaceClusterSetState);
    Place(*part->mShapeClusters[s], clusters, numbers);
  }
  part->mClusterSolveEnabled = true;
  return part;
}

/// A character that owns these parts. Every template, and every expression that it defines, moves every
/// shape.
std::unique_ptr<VCharacterFace> CharacterOf(std::vector<std::unique_ptr<VCharacterFacePart>> parts) {
  Numbers numbers;
  auto character = std::make_unique<VCharacterFace>();
  for (auto& part : parts) character->mParts.Add(part.release());
  const auto define = [&](VCharacterFaceState& state) {
    for (int p = 0; p < character->mParts.GetCount(); ++p)
      for (int s = 0; s < character->mParts[p]->mShapes.GetCount(); ++s)
        state.mWeights[p][s] = numbers.Between(-0.5, 1.5);
  };
  for (auto& states : character->mTemplateStates)
    for (int t = 0; t < states.GetCount(); ++t) define(*states[t]);
  for (const int e : kOwnExpressions) define(*character->mExpressionStates[e]);
  return character;
}

std::unique_ptr<VCharacterFace> CharacterOf(int parts, int shapes) {
  std::vector<std::unique_ptr<VCharacterFacePart>> list;
  for (int p = 0; p < parts; ++p) {
    list.push_back(std::make_unique<VCharacterFacePart>("Part"));
    AddShapes(*list.back(), shapes);
  }
  return CharacterOf(std::move(list));
}

/// A character in both forms, and its inputs.
struct Example {
  Example(std::unique_ptr<VCharacterFace> of, const Performer& performer)
      : character(std::move(of)), eigen(*character), eigen_weights(eigen.NoWeights()) {
    for (int f = 0; f < kFrames; ++f) templates[f] = ToVector(performer.weights[f]);
  }

  std::unique_ptr<VCharacterFace> character;
  EigenCharacter eigen;
  VCharacterFaceState weights;
  EigenWeights eigen_weights;
  TemplateVector templates[kFrames];
};

// --- The sum of define states: only the library's loop, compared with other matrix-vector products.

/// By part: the start of the weights of its shapes in each define state.
using Rows = std::vector<std::vector<const double*>>;

Rows InDefineStates(const Example& example) {
  Rows rows;
  for (int p = 0; p < example.character->mParts.GetCount(); ++p) {
    rows.emplace_back();
    for (const auto& states : example.character->mTemplateStates)
      for (int t = 0; t < states.GetCount(); ++t) rows.back().push_back(states[t]->mWeights[p]);
  }
  return rows;
}

/// In the matrix of the products.
Rows InOneBlock(const Example& example) {
  const DefineStates& states = example.eigen.templates;
  Rows rows;
  int first = 0;
  for (const int shapes : example.eigen.shapes) {
    rows.emplace_back();
    for (int k = 0; k < states.Columns(); ++k)
      rows.back().push_back(states.Data() + k * states.Stride() + first);
    first += shapes;
  }
  return rows;
}

void BlasMatrixVector(double* result, const double* matrix, int rows, int columns, int stride,
                      const double* vector) {
  cblas_dgemv(CblasColMajor, CblasNoTrans, rows, columns, 1, matrix, stride, vector, 1, 0, result, 1);
}

void CompareSums(const std::string& operation, const std::shared_ptr<Example>& example, const Rows& rows) {
  const auto mien = [ example, rows ](int f) -> auto& {
    for (std::size_t p = 0; p < rows.size(); ++p)
      mien::detail::SumWeightedRows(example->weights.mWeights[p], example->eigen.shapes[p], rows[p].data(),
                                    example->templates[f].data(), static_cast<int>(rows[p].size()));
    return example->weights;
  };
  const auto peer = [example](MatrixVector& product) {
    return [ example, &product ](int f) -> auto& {
      const DefineStates& states = example->eigen.templates;
      product(example->eigen_weights.weights.data(), states.Data(), states.Rows(), states.Columns(),
              states.Stride(), example->templates[f].data());
      return example->eigen_weights;
    };
  };
  Register(operation + "/mien", mien);
  CompareWith(operation, "eigen", mien, peer(EigenMatrixVector));
#if defined(MIEN_BENCHMARKS_NATIVE)
  CompareWith(operation, "native", mien, peer(NativeEigenMatrixVector));
#endif
  CompareWith(operation, "blas", mien, peer(BlasMatrixVector));
}

// --- The same sums in many frames at once: each call solves all of them.

void BlasMatrixMatrix(double* results, const double* matrix, int rows, int columns, int stride,
                      const double* vectors, int frames) {
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, rows, frames, columns, 1, matrix, stride, vectors,
              columns, 0, results, rows);
}

void CompareFrames(const std::string& operation, const std::shared_ptr<Example>& example, int frames) {
  struct Frames {
    mien::BakedShapes shapes;
    std::vector<double> templates, mien_results, peer_results;
    FrameOfShapes mien_frame, peer_frame;
  };
  auto all = std::make_shared<Frames>(
      Frames{mien::BakedShapes(*example->character, *GetGlobalFace()), {}, {}, {}, {}, {}});
  for (int f = 0; f < frames; ++f)
    all->templates.insert(all->templates.end(), example->templates[f % kFrames].begin(),
                          example->templates[f % kFrames].end());
  all->mien_results.resize(all->shapes.Shapes() * static_cast<std::size_t>(frames));
  all->peer_results.resize(all->mien_results.size());
  const auto frame = [count = all->shapes.Shapes()](const std::vector<double>& results, int f) {
    return FrameOfShapes{std::span(results).subspan(static_cast<std::size_t>(f) * count, count)};
  };

  const auto mien = [ all, frame, frames ](int f) -> auto& {
    static const double kNoExpressions[kExpressions] = {};
    all->shapes.Solve(all->mien_results.data(), all->templates.data(), kNoExpressions, 0,
                      static_cast<std::size_t>(frames));
    return all->mien_frame = frame(all->mien_results, f);
  };
  const auto peer = [all, example, frame, frames](MatrixMatrix& product) {
    return [ all, example, frame, frames, &product ](int f) -> auto& {
      const DefineStates& states = example->eigen.templates;
      product(all->peer_results.data(), states.Data(), states.Rows(), states.Columns(), states.Stride(),
              all->templates.data(), frames);
      return all->peer_frame = frame(all->peer_results, f);
    };
  };
  Register(operation + "/mien", mien);
  CompareWith(operation, "eigen", mien, peer(EigenMatrixMatrix));
#if defined(MIEN_BENCHMARKS_NATIVE)
  CompareWith(operation, "native", mien, peer(NativeEigenMatrixMatrix));
#endif
  CompareWith(operation, "blas", mien, peer(BlasMatrixMatrix));
}

// --- Whole solves.

void CompareSolves(const std::string& size, const std::shared_ptr<Example>& example, Mien* m, Plain* e) {
  Compare(
      "templates, " + size, [ example, m ](int f) -> auto& {
        example->character->ActorTemplate2CharacterSolve(example->weights, m->weights[f]);
        return example->weights;
      },
      [example](int f) -> auto& {
        example->eigen.TemplatesToCharacter(example->eigen_weights, example->templates[f]);
        return example->eigen_weights;
      });
  Compare(
      "and expressions, " + size, [ example, m ](int f) -> auto& {
        example->character->Actor2CharacterSolve(example->weights, m->weights[f], m->expression_weights[f]);
        return example->weights;
      },
      [ example, e ](int f) -> auto& {
        example->eigen.ActorToCharacter(example->eigen_weights, example->templates[f],
                                        e->expression_weights[f]);
        return example->eigen_weights;
      });
  for (const char* operation : {"templates, ", "and expressions, "})
    Floor(
        operation + size, [example](int) -> auto& {
          std::memset(static_cast<void*>(example->weights.mWeights), 0, sizeof example->weights.mWeights);
          return example->weights;
        });
}

/// The shapes' weights change as the templates' do.
void CompareClusters(const Performer& performer) {
  constexpr int kShapes = 20, kClusters = 40;
  struct Clusters {
    std::unique_ptr<VCharacterFace> character;
    const EigenClusterPart eigen{static_cast<const VCharacterFacePartCluster&>(*character->mParts[0])};
    const mien::BakedClusters baked{*character};
    VCharacterFaceState weights;
    VCharacterFaceClusterSetState set{kClusters};
    EigenClusterSet eigen_set = eigen.NoClusters();
    TemplateVector templates[kFrames] = {};
  };
  std::vector<std::unique_ptr<VCharacterFacePart>> parts;
  parts.push_back(ClusterPart(kShapes, kClusters));
  const auto example = std::make_shared<Clusters>(CharacterOf(std::move(parts)));
  for (int f = 0; f < kFrames; ++f) example->templates[f] = ToVector(performer.weights[f]);

  const auto mien = [example](int f) -> auto& {
    std::copy_n(example->templates[f].data(), kShapes, example->weights.mWeights[0]);
    example->character->Character2ClusterSolve(&example->set, example->weights, 0);
    return example->set;
  };
  Compare(
      "Character2ClusterSolve", mien, [example](int f) -> auto& {
        example->eigen.Solve(example->eigen_set, example->templates[f].data());
        return example->eigen_set;
      });
  Compare(
      "clusters, offsets kept",
      [example](int f) -> auto& {
        example->baked.SolvePart(&example->set, example->templates[f].data(), 0);
        return example->set;
      },
      [example](int f) -> auto& {
        example->eigen.SolveFromOffsets(example->eigen_set, example->templates[f].data());
        return example->eigen_set;
      });
}

/// From the markers of a frame to a character of 52 shapes, and 12 clusters that 8 more shapes drive.
void CompareChain(Mien* m, Plain* e) {
  constexpr int kClusters = 12;
  std::vector<std::unique_ptr<VCharacterFacePart>> parts;
  parts.push_back(std::make_unique<VCharacterFacePart>("Shapes"));
  AddShapes(*parts.back(), 52);
  parts.push_back(ClusterPart(8, kClusters));
  struct Chain : Example {
    using Example::Example;
    const EigenClusterPart eigen_part{static_cast<const VCharacterFacePartCluster&>(*character->mParts[1])};
    VCharacterFaceClusterSetState sets[15];
    EigenClusterSet eigen_set = eigen_part.NoClusters();
  };
  const auto chain = std::make_shared<Chain>(CharacterOf(std::move(parts)), *m);
  for (int c = 0; c < kClusters; ++c) chain->sets[1].mClusters.Add(new VCharacterFaceClusterState);
  Compare(
      "markers to clusters", [ chain, m ](int f) -> auto& {
        m->actor.ReferenceFromRBMarker(&m->frames[f], &m->reference);
        m->actor.Actor2FaceSolve(&m->points, &m->frames[f]);
        m->face.Face2TemplateSolve(&m->template_weights, &m->points);
        chain->character->ActorTemplate2CharacterSolve(chain->weights, m->template_weights);
        chain->character->Character2ClusterSolve(chain->sets, chain->weights);
        return chain->sets[1];
      },
      [ chain, e ](int f) -> auto& {
        e->actor.SolveHead(e->frames[f], e->reference);
        e->actor.ActorToFace(e->points, e->frames[f], e->face);
        e->face.FaceToTemplate(e->template_weights, e->points);
        chain->eigen.TemplatesToCharacter(chain->eigen_weights, ToVector(e->face, e->template_weights));
        chain->eigen_part.Solve(chain->eigen_set, chain->eigen_weights.weights.data() + 52);
        return chain->eigen_set;
      });
}

} // namespace

void CompareCharacter(Mien& mien, Plain& plain) {
  openblas_set_num_threads(1); // no sum here is long enough for a second thread to help
  VFace& face = *GetGlobalFace();
  for (int k = 0; k < kExpressions; ++k) {
    const int index = face.CreateExpression("Expression");
    face.mExpressions[index]->mTemplateState = mien.catalogue.mExpressions[k]->mTemplateState;
  }

  const struct {
    const char* name;
    std::shared_ptr<Example> example;
  } sizes[] = {{"52", std::make_shared<Example>(CharacterOf(1, 52), mien)},
               {"150", std::make_shared<Example>(CharacterOf(1, 150), mien)},
               {"500", std::make_shared<Example>(CharacterOf(1, 500), mien)},
               {"15 x 500", std::make_shared<Example>(CharacterOf(15, 500), mien)}};
  for (const auto& [name, example] : sizes) {
    CompareSums(std::string("sum, ") + name, example, InDefineStates(*example));
    CompareSums(std::string("sum in one block, ") + name, example, InOneBlock(*example));
  }
  for (const auto& [name, example] : sizes) CompareFrames(std::string("64 frames, ") + name, example, 64);
  for (const auto& [name, example] : sizes) // results of 2 to 31 MB
    example->character->mParts.GetCount() == 1
        ? CompareFrames(std::string("4096 frames, ") + name, example, 4096)
        : CompareFrames(std::string("512 frames, ") + name, example, 512);
  for (const auto& [name, example] : sizes) CompareSolves(name, example, &mien, &plain);
  CompareClusters(mien);
  CompareChain(&mien, &plain);
}

} // namespace benchmarks
