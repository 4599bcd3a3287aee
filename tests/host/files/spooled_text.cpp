#include "host/files/spooled_text.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <sys/resource.h>

using mien::SpooledText;

namespace {

/// Writes lines to it, and returns what it must then have.
std::string Fill(SpooledText& text, std::size_t lines) {
  std::ostream out(&text);
  std::string expected;
  for (std::size_t i = 0; i < lines; ++i) {
    const std::string line = std::to_string(i * i);
    out << line;
    out.put('\n');
    expected += line + '\n';
  }
  EXPECT_TRUE(out);
  return expected;
}

std::string Joined(SpooledText& text) {
  std::string joined;
  text.EachPart([&](std::string_view part) { joined += part; });
  return joined;
}

} // namespace

TEST(SpooledText, HasWhatWasWritten) {
  for (const std::size_t lines : {0u, 1u, 80'000u, 1'000'000u}) { // on the heap; at its border; in a file
    SpooledText text;
    const std::string expected = Fill(text, lines);
    EXPECT_TRUE(text.Text() == expected) << lines;
    EXPECT_TRUE(Joined(text) == expected) << lines;
    EXPECT_TRUE(text.Text() == expected) << lines << ", again";
  }
}

TEST(SpooledText, APieceLongerThanTheHeapHoldsIsKeptWhole) {
  SpooledText text;
  std::ostream out(&text);
  const std::string piece(3'000'000, 'a');
  out << "begin" << piece << "end";
  EXPECT_TRUE(text.Text() == "begin" + piece + "end");
}

TEST(SpooledText, StaysOnTheHeapWhereFilesHaveNoRoom) {
  const auto before = std::signal(SIGXFSZ, SIG_IGN);
  rlimit unlimited{};
  getrlimit(RLIMIT_FSIZE, &unlimited);
  const rlimit limit = {std::size_t{6} << 20, unlimited.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit); // room for the beginning
  SpooledText text;
  const std::string expected = Fill(text, 1'000'000);
  setrlimit(RLIMIT_FSIZE, &unlimited);
  std::signal(SIGXFSZ, before);
  EXPECT_GT(expected.size(), std::size_t{6} << 20);
  EXPECT_TRUE(text.Text() == expected);
}
