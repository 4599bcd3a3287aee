#include "benchmarks/table.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <set>

namespace benchmarks {
namespace {

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2 != 0) return *middle;
  return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

} // namespace

bool Table::ReportContext(const Context& context) {
  PrintBasicContext(&GetErrorStream(), context);
  return true;
}

void Table::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.run_type != Run::RT_Iteration) continue;
    const std::string& name = run.run_name.function_name;
    names_[run.family_index] = name;
    nanoseconds_[name].push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations) * 1e9);
  }
}

void Table::Finalize() {
  const auto median = [this](const std::string& name) -> std::optional<double> {
    const auto found = nanoseconds_.find(name);
    return found == nanoseconds_.end() ? std::nullopt : std::optional(Median(found->second));
  };
  const auto print = [](std::optional<double> value, int decimals) {
    value ? std::printf(" %10.*f |", decimals, *value) : std::printf(" %10s |", "-");
  };
  std::printf("| %-28s |", "operation");
  for (const char* heading : {"mien ns", "Eigen ns", "native ns", "BLAS ns", "mien/best", "floor ns"})
    std::printf(" %10s |", heading);
  std::printf("\n|------------------------------|");
  for (int column = 0; column < 6; ++column) std::printf("-----------:|");
  std::printf("\n");

  std::set<std::string> printed;
  for (const auto& [index, name] : names_) {
    const std::string operation = name.substr(0, name.rfind('/'));
    if (!printed.insert(operation).second) continue;
    std::printf("| %-28s |", operation.c_str());
    const auto mien = median(operation + "/mien");
    print(mien, 1);
    std::optional<double> best;
    for (const char* peer : {"/eigen", "/native", "/blas"}) {
      const auto time = median(operation + peer);
      print(time, 1);
      if (time && (!best || *time < *best)) best = time;
    }
    print(mien && best ? std::optional(*mien / *best) : std::nullopt, 2);
    print(median(operation + "/floor"), 1);
    std::printf("\n");
  }
}

} // namespace benchmarks
