#include "host/base/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using mien::ForRanges;

TEST(OnThreads, EachIndexIsWorkedOnOnceByAThreadOfANumberBelowTheirs) {
  for (const std::size_t threads : {1U, 2U, 9U}) {
    std::vector<std::atomic<int>> times(50);
    std::atomic<bool> fits = true;
    mien::OnThreads(threads, times.size(), [&](std::size_t thread, std::size_t index) {
      ++times[index];
      if (thread >= threads) fits = false;
    });
    for (const std::atomic<int>& count : times) EXPECT_EQ(count, 1);
    EXPECT_TRUE(fits);
  }
}

TEST(ForRanges, EveryIndexIsInOneRangeForAnyNumberOfThreads) {
  for (const std::size_t threads : {0U, 1U, 2U, 7U, 50U})
    for (const std::size_t count : {0U, 1U, 9U, 10U, 11U, 1000U}) {
      std::vector<std::atomic<int>> calls(count);
      ForRanges(threads, count, 10, [&](std::size_t first, std::size_t end) {
        EXPECT_EQ(first % 10, 0U);
        EXPECT_LE(end - first, 10U);
        for (std::size_t i = first; i < end; ++i) ++calls[i];
      });
      for (const std::atomic<int>& number : calls) EXPECT_EQ(number, 1);
    }
}

TEST(ForRanges, RunsAtTheSameTime) {
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t inside = 0;
  std::set<std::thread::id> threads;
  ForRanges(3, 3, 1, [&](std::size_t, std::size_t) {
    std::unique_lock lock(mutex);
    ++inside;
    threads.insert(std::this_thread::get_id());
    changed.notify_all();
    changed.wait(lock, [&] { return inside == 3; }); // a thread that waits cannot take another range
  });
  EXPECT_EQ(threads.size(), 3U);
  EXPECT_TRUE(threads.contains(std::this_thread::get_id()));
}

TEST(ForRanges, OneThreadIsTheCallersAndGoesInOrder) {
  std::vector<std::size_t> order;
  ForRanges(1, 100, 7, [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) order.push_back(i);
  });
  for (std::size_t i = 0; i < 100; ++i) EXPECT_EQ(order[i], i);
}

TEST(ForRanges, ThrowsWhatTheFirstRangeThrowsAndBeginsNoMore) {
  std::atomic<int> calls = 0;
  try {
    ForRanges(2, 1000, 1, [&](std::size_t first, std::size_t) {
      ++calls;
      if (first == 2) throw std::runtime_error("range 2");
      if (first > 500) throw std::runtime_error("range beyond 500");
    });
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& error) { EXPECT_EQ(error.what(), std::string("range 2")); }
  EXPECT_LT(calls, 1000);
}

TEST(AvailableThreads, IsAtLeastOne) { EXPECT_GE(mien::AvailableThreads(), 1U); }
