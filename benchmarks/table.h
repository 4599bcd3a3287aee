#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace benchmarks {

/// After all runs, prints a line per operation: the medians over the repetitions of its benchmarks
/// "operation/mien", those of its peers, "operation/eigen", "operation/native" (Eigen for this very
/// processor) and "operation/blas", the library's time relative to the fastest of them, and
/// "operation/floor".
class Table : public benchmark::BenchmarkReporter {
public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

private:
  std::map<std::int64_t, std::string> names_; ///< In the order of registration; the runs are in random order.
  std::map<std::string, std::vector<double>> nanoseconds_;
};

} // namespace benchmarks
