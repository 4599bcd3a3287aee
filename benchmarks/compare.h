#pragma once

// How an operation and its peers are put into the table.

#include "benchmarks/deviation.h"
#include "benchmarks/performer.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace benchmarks {

/// Times `run(frame)`, which answers its result, over the frames of the take again and again.
template <class Run>
void Register(const std::string& name, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), [run](benchmark::State& state) {
    int frame = 0;
    for (auto _ : state) {
      auto& result = run(frame);
      benchmark::DoNotOptimize(result);
      benchmark::ClobberMemory();
      frame = (frame + 1) % kFrames;
    }
  });
}

/// Ends the program with a message where the two forms of an operation, each of which answers the result of a frame,
/// disagree in a frame.
template <class MienForm, class PeerForm>
void DemandAgreement(const std::string& name, MienForm mien, PeerForm peer) {
  constexpr double kTolerance = 1e-9; // millions of roundings; the forms differ in some dozens
  for (int frame = 0; frame < kFrames; ++frame) {
    const auto& mien_result = mien(frame);
    const double deviation = Deviation().Compare(mien_result, peer(frame)).Relative();
    if (!(deviation <= kTolerance)) {
      std::fprintf(stderr, "%s deviates by %g (relative) in frame %d; nothing was timed\n", name.c_str(),
                   deviation, frame);
      std::exit(1);
    }
  }
}

/// A form beside the library's: `peer` is a column of the table.
template <class MienForm, class PeerForm>
void CompareWith(const std::string& operation, const char* peer, MienForm mien, PeerForm form) {
  const std::string name = operation + "/" + peer;
  DemandAgreement(name, mien, form);
  Register(name, form);
}

/// The library's form and plain Eigen's.
template <class MienForm, class EigenForm>
void Compare(const std::string& operation, MienForm mien, EigenForm eigen) {
  Register(operation + "/mien", mien);
  CompareWith(operation, "eigen", mien, eigen);
}

/// No operation can take less: it writes as many bytes as the result has, and reads them where they depend on
/// the frame.
template <class Run>
void Floor(const std::string& operation, Run run) {
  Register(operation + "/floor", run);
}

} // namespace benchmarks
