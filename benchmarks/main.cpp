// Compares every per-frame operation of the library with the same arithmetic in plain Eigen, and its largest
// loop with the fastest alternatives, in one process.
//
// An operation is timed only after all forms have computed the same for every frame: otherwise the program
// ends with a message.

#include "benchmarks/character.h"
#include "benchmarks/face_and_actor.h"
#include "benchmarks/forms.h"
#include "benchmarks/table.h"

#include <benchmark/benchmark.h>

#include <bit>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <vector>

using namespace benchmarks;

namespace {

/// FNV-1a of the bits of all template weights of the take: the same in every build.
std::uint64_t Hash(const Performer& performer) {
  std::uint64_t hash = 14695981039346656037u;
  for (int f = 0; f < kFrames; ++f)
    for (const VFacePartTemplateState& part : performer.weights[f].mParts)
      for (const double weight : part.mWeights)
        for (const auto bits = std::bit_cast<std::uint64_t>(weight);
             const int shift : {0, 8, 16, 24, 32, 40, 48, 56})
          hash = (hash ^ ((bits >> shift) & 0xff)) * 1099511628211u;
  return hash;
}

} // namespace

int main(int argc, char** argv) {
  const auto mien = std::make_unique<Mien>();
  const auto plain = std::make_unique<Plain>(*mien);
  std::fprintf(stderr, "The take's template weights: %016" PRIx64 "\n", Hash(*mien));
  CompareFaceAndActor(*mien, *plain);
  CompareCharacter(*mien, *plain);

  // Before the caller's arguments, so that those take precedence.
  char repetitions[] = "--benchmark_repetitions=9",
       interleaving[] = "--benchmark_enable_random_interleaving=true", time[] = "--benchmark_min_time=0.05";
  std::vector<char*> arguments = {argv[0], repetitions, interleaving, time};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  Table table;
  benchmark::RunSpecifiedBenchmarks(&table);
  benchmark::Shutdown();
}
