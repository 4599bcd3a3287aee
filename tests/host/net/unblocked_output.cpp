#include "host/net/unblocked_output.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>

namespace mien {

namespace {

/// A pipe; its ends are closed with it.
class Pipe {
public:
  Pipe() { EXPECT_EQ(pipe(ends_.data()), 0); }
  ~Pipe() {
    CloseReader();
    close(ends_[1]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int Writer() const { return ends_[1]; }

  void CloseReader() {
    if (ends_[0] >= 0) close(ends_[0]);
    ends_[0] = -1;
  }

  /// All that is in it.
  std::string Read() const {
    fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    std::string all;
    std::array<char, 65536> some;
    for (ssize_t size = 0; (size = read(ends_[0], some.data(), some.size())) > 0;)
      all.append(some.data(), static_cast<std::size_t>(size));
    return all;
  }

private:
  std::array<int, 2> ends_ = {-1, -1};
};

std::string LineOf(std::size_t number) { return std::to_string(number) + std::string(900, 'x') + '\n'; }

std::size_t LinesIn(std::string_view text) {
  std::size_t lines = 0;
  for (const char c : text) lines += c == '\n';
  return lines;
}

TEST(UnblockedOutput, WhatASlowReaderLeavesIsKeptAndComesInOrder) {
  EventLoop loop;
  Pipe pipe;
  UnblockedOutput output(loop, pipe.Writer());
  std::string written, read;
  for (std::size_t i = 0; i < 500; ++i) { // 450 kB: more than a pipe holds
    output.Write(LineOf(i));
    written += LineOf(i);
  }
  EXPECT_TRUE(output.IsBusy());
  while (read.size() < written.size()) {
    const std::string more = pipe.Read();
    ASSERT_FALSE(more.empty());
    read += more;
    output.Write(""); // as every five milliseconds
  }
  EXPECT_TRUE(read == written);
  EXPECT_FALSE(output.IsBusy());
  EXPECT_EQ(output.Dropped(), 0U);
}

TEST(UnblockedOutput, WholeLinesBeyondTheLimitAreDroppedAndCounted) {
  EventLoop loop;
  Pipe pipe;
  UnblockedOutput output(loop, pipe.Writer());
  constexpr std::size_t kLines = 3000;
  for (std::size_t i = 0; i < kLines; ++i) output.Write(LineOf(i));
  const std::uint64_t dropped = output.Dropped();
  EXPECT_GT(dropped, kLines / 2);
  std::string read;
  for (std::string more; !(more = pipe.Read()).empty(); output.Write("")) read += more;
  EXPECT_EQ(LinesIn(read), kLines - dropped);
  EXPECT_EQ(read.back(), '\n');
}

TEST(UnblockedOutput, AReaderThatTakesNothingEndsTheLastWriteAndTheRestCountsAsDropped) {
  EventLoop loop;
  Pipe pipe;
  UnblockedOutput output(loop, pipe.Writer());
  constexpr std::size_t kLines = 500;
  for (std::size_t i = 0; i < kLines; ++i) output.Write(LineOf(i));
  output.Finish();
  EXPECT_GT(output.Dropped(), 0U);
  EXPECT_EQ(LinesIn(pipe.Read()) + output.Dropped(), kLines);
  EXPECT_EQ(output.Error(), 0);
}

TEST(UnblockedOutput, AReaderThatIsGoneIsAnError) {
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  EventLoop loop;
  Pipe pipe;
  UnblockedOutput output(loop, pipe.Writer());
  pipe.CloseReader();
  output.Write("line\n");
  EXPECT_EQ(output.Error(), EPIPE);
  output.Write("line\n");
  output.Finish();
  std::signal(SIGPIPE, before);
}

} // namespace

} // namespace mien
