#pragma once

// Adds an operation and its alternatives to the table.

#include "benchmarks/deviation.h"
#include "benchmarks/performer.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace benchmarks {

/// Times `run(frame)`, which returns its result, repeatedly over the frames of the take.
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

/// Ends the program with a message if the two forms of an operation, each of which returns the result of a
/// frame, disagree in a frame.
template <class MienForm, class PeerForm>
void DemandAgreement(const std::string& name, MienForm mien, PeerForm peer) {
  constexpr double kTolerance = 1e-9; // millions of rounding errors; the forms differ by some dozens
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

/// An alternative to the library's form: `peer` is a column of the table.
template <class MienForm, class PeerForm>
void CompareWith(const std::string& operation, const char* peer, MienForm mien, PeerForm form) {
  const std::string name = operation + "/" + peer;
  DemandAgreement(name, mien, form);
  Register(name, form);
}

/// The forms of the library and of plain Eigen.
template <class MienForm, class EigenForm>
void Compare(const std::string& operation, MienForm mien, EigenForm eigen) {
  Register(operation + "/mien", mien);
  CompareWith(operation, "eigen", mien, eigen);
}

/// The minimum time of an operation: writes as many bytes as the result has, and reads them if they depend on
/// the frame.
template <class Run>
void Floor(const std::string& operation, Run run) {
  Register(operation + "/floor", run);
}

} // namespace benchmarks
