#include "host/net/line_input.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace mien {

namespace {

using namespace std::chrono_literals;

struct Lines {
  std::vector<std::string> lines;
  std::size_t cut = 0;
};

/// All lines of a descriptor, which it closes.
Lines LinesOf(int descriptor) {
  EventLoop loop;
  Lines all;
  LineInput input(loop, descriptor,
                  {.line =
                       [&](std::string_view line, bool is_cut, EventLoop::Clock::time_point) {
                         all.lines.emplace_back(line);
                         all.cut += is_cut ? 1 : 0;
                       },
                   .end = [&] { loop.Stop(); }});
  loop.At(EventLoop::Clock::now() + 10s, [&] { loop.Stop(); });
  loop.Run();
  close(descriptor);
  return all;
}

int PipeWith(const std::string& text) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  EXPECT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(ends[1]);
  return ends[0];
}

TEST(LineInput, ReadsThePipesLinesAndTheLastWithoutItsEnd) {
  EXPECT_EQ(LinesOf(PipeWith("one\r\n\ntwo\nthree")).lines,
            (std::vector<std::string>{"one", "", "two", "three"}));
  EXPECT_TRUE(LinesOf(PipeWith("")).lines.empty());
}

TEST(LineInput, ReadsAFileWhichTheSystemCannotWaitFor) {
  std::FILE* const file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const std::string line(3000, 'x');
  for (int i = 0; i < 100; ++i) std::fputs((line + "\n").c_str(), file);
  std::rewind(file);
  const Lines all = LinesOf(dup(fileno(file)));
  std::fclose(file);
  EXPECT_EQ(all.lines, std::vector<std::string>(100, line));
}

// Standard input is this device where a service has none.
TEST(LineInput, TheNullDeviceEndsAtOnce) {
  const auto start = EventLoop::Clock::now();
  EXPECT_TRUE(LinesOf(open("/dev/null", O_RDONLY)).lines.empty());
  EXPECT_LT(EventLoop::Clock::now() - start, 5s) << "it waits for lines that never come";
}

TEST(LineInput, ALineWithoutEndIsCut) {
  std::FILE* const file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const std::string endless(LineInput::kLongestLine + 100'000, 'x');
  std::fputs((endless + "\nnext\n").c_str(), file);
  std::rewind(file);
  const Lines all = LinesOf(dup(fileno(file)));
  std::fclose(file);
  ASSERT_EQ(all.lines.size(), 2U);
  EXPECT_EQ(all.lines[0].size(), LineInput::kLongestLine);
  EXPECT_EQ(all.cut, 1U);
  EXPECT_EQ(all.lines[1], "next");
}

} // namespace

} // namespace mien
