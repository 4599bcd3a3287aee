#include "host/base/long_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <numeric>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

using mien::LongVector;

namespace {

/// The megabytes of files' pages that the process has in its memory.
double ResidentFileMegabytes() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
    if (word == "RssFile:") {
      double kilobytes = 0;
      status >> kilobytes;
      return kilobytes / 1024;
    }
  return -1;
}

struct Wide {
  double values[5] = {};
  bool operator==(const Wide&) const = default;
};

/// Lets no file of the process grow beyond so many bytes, as long as it lives.
class LimitOnFiles {
public:
  explicit LimitOnFiles(std::size_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~LimitOnFiles() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  LimitOnFiles(const LimitOnFiles&) = delete;
  LimitOnFiles& operator=(const LimitOnFiles&) = delete;

private:
  void (*handler_)(int);
  rlimit before_{};
};

} // namespace

TEST(LongVector, HasTheValuesOfAVector) {
  LongVector<double> values = {3, 1, 2};
  values.push_back(values[0]);
  EXPECT_EQ(values, (LongVector<double>{3, 1, 2, 3}));
  EXPECT_EQ(values.front(), 3);
  EXPECT_EQ(values.back(), 3);
  std::sort(values.begin(), values.end());
  EXPECT_EQ(values, (std::vector<double>{1, 2, 3, 3}));
  values.pop_back();
  values.resize(5, 7);
  EXPECT_EQ(values, (std::vector<double>{1, 2, 3, 7, 7}));
  values.resize(1);
  EXPECT_EQ(values, (std::vector<double>{1}));
  values.clear();
  EXPECT_TRUE(values.empty());
}

// Sizes on both sides of the limit of the heap, and of values that do not divide a piece.
TEST(LongVector, KeepsItsValuesWhenItLeavesTheHeap) {
  LongVector<Wide> values;
  constexpr std::size_t kCount = 200'000; // 8 MB
  for (std::size_t i = 0; i < kCount; ++i) {
    const auto number = static_cast<double>(i);
    values.push_back({{number, number + 1}});
  }
  LongVector<Wide> copy = values;
  for (std::size_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(values[i].values[0], static_cast<double>(i));
    ASSERT_EQ(copy[i], values[i]);
  }
  copy[kCount - 1].values[4] = 1;
  EXPECT_NE(copy, values);
  const LongVector<Wide> moved = std::move(copy);
  EXPECT_EQ(moved.size(), kCount);
  EXPECT_EQ(moved.back().values[4], 1);
}

TEST(LongVector, NewValuesAreThoseAskedForAlsoAfterShrinking) {
  LongVector<std::int64_t> values(300'000, 5);
  values.resize(10);
  values.resize(300'000);
  EXPECT_TRUE(std::all_of(values.begin(), values.begin() + 10, [](std::int64_t v) { return v == 5; }));
  EXPECT_TRUE(std::all_of(values.begin() + 10, values.end(), [](std::int64_t v) { return v == 0; }));
}

TEST(LongVector, AppendsAndReadsRangesAcrossPieces) {
  std::vector<double> more(100'000);
  std::iota(more.begin(), more.end(), 0.0);
  LongVector<double> values;
  for (int i = 0; i < 5; ++i) values.append(more);
  for (const std::size_t first : {std::size_t{16'380}, std::size_t{99'990}, std::size_t{499'000}}) {
    const auto part = values.subspan(first, 1000);
    for (std::size_t i = 0; i < part.size(); ++i)
      ASSERT_EQ(part[i], static_cast<double>((first + i) % 100'000));
  }
}

TEST(LongVector, TheProcessKeepsOnlyALimitedPart) {
  constexpr std::size_t kPerPass = 40'000'000 / sizeof(double);
  const double before = ResidentFileMegabytes();
  ASSERT_GE(before, 0);
  std::vector<LongVector<double>> vectors(4); // 160 MB
  double most = 0;
  for (auto& values : vectors) {
    for (std::size_t i = 0; i < kPerPass; ++i) values.push_back(static_cast<double>(i));
    most = std::max(most, ResidentFileMegabytes());
  }
  double sum = 0;
  for (const auto& values : vectors) {
    sum = std::accumulate(values.begin(), values.end(), sum);
    most = std::max(most, ResidentFileMegabytes());
  }
  EXPECT_EQ(sum, 4 * static_cast<double>(kPerPass) * (static_cast<double>(kPerPass) - 1) / 2);
  EXPECT_LT(most - before, 48);
}

TEST(LongVector, ThreadsShareOne) {
  LongVector<std::uint32_t> values(20'000'000); // 80 MB: pieces are dropped meanwhile
  constexpr std::size_t kThreads = 4;
  const auto run = [&](const auto& work) {
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < kThreads; ++t) threads.emplace_back([&work, t] { work(t); });
    for (std::thread& thread : threads) thread.join();
  };
  run([&](std::size_t t) {
    for (std::size_t i = t; i < values.size(); i += kThreads) values[i] = static_cast<std::uint32_t>(i);
  });
  std::atomic<int> wrong = 0;
  run([&](std::size_t t) {
    for (std::size_t i = values.size() - 1 - t; i < values.size(); i -= kThreads)
      if (values[i] != i) ++wrong;
  });
  EXPECT_EQ(wrong, 0);
}

// The limit on the size of files stands for a full disk.
TEST(LongVector, GoesBackToTheHeapWhereTheFileCannotGrow) {
  for (const std::size_t limit : {std::size_t{0}, std::size_t{2'000'000}}) {
    const LimitOnFiles full(limit);
    LongVector<double> values;
    for (std::size_t i = 0; i < 500'000; ++i) values.push_back(static_cast<double>(i)); // 4 MB
    for (std::size_t i = 0; i < 500'000; ++i) ASSERT_EQ(values[i], static_cast<double>(i));
    const LongVector<double> copy = values;
    EXPECT_EQ(copy, values);
  }
}
