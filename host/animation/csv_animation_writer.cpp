#include "host/animation/csv_animation_writer.h"

#include "host/base/number_text.h"
#include "host/base/parallel.h"

#include <algorithm>
#include <vector>

namespace mien {

void CsvAnimationWriter::Frame(const AnimationFrame& frame) {
  if (!has_begun_) Begin(frame);
  has_begun_ = true;
  row_.clear();
  AppendRow(row_, frame);
  row_.push_back('\n');
  Write(row_);
}

void CsvAnimationWriter::Frames(const Animation& animation, std::size_t threads) {
  constexpr std::size_t kBytesOfTurn = std::size_t{64} << 10; // small enough for the core's own cache
  constexpr std::size_t kTurns = 32;                          // of each thread before their rows are written
  const std::size_t frames = animation.frames.size();
  if (frames == 0) return;
  if (!has_begun_) Begin(animation.Frame(0));
  has_begun_ = true;
  row_.clear();
  AppendRow(row_, animation.Frame(0)); // about as long as all others
  const std::size_t rows_of_turn = std::max<std::size_t>(kBytesOfTurn / (row_.size() + 1), 1);
  std::vector<Rows> of_turns(std::max<std::size_t>(threads, 1) * kTurns);
  for (std::size_t first = 0; first < frames; first += of_turns.size() * rows_of_turn) {
    const std::size_t turns = std::min(of_turns.size(), (frames - first + rows_of_turn - 1) / rows_of_turn);
    OnThreads(threads, turns, [&](std::size_t, std::size_t turn) {
      of_turns[turn].clear();
      const std::size_t from = first + turn * rows_of_turn;
      for (std::size_t f = from; f < std::min(from + rows_of_turn, frames); ++f) {
        AppendRow(of_turns[turn], animation.Frame(f));
        of_turns[turn].push_back('\n');
      }
    });
    for (std::size_t turn = 0; turn < turns; ++turn) Write(of_turns[turn]);
  }
}

void CsvAnimationWriter::End() { out_.flush(); }

void CsvAnimationWriter::WriteHeader(const Rows& row) {
  Write(row);
  out_.put('\n');
}

void CsvAnimationWriter::AppendNumber(Rows& rows, double number) {
  rows.push_back(',');
  mien::AppendNumber(rows, number);
}

void CsvAnimationWriter::AppendTenDecimals(Rows& rows, double number) {
  char digits[kLongestWithTenDecimals];
  rows.push_back(',');
  rows.append(digits, WriteTenDecimals(digits, number));
}

void CsvAnimationWriter::Write(const Rows& rows) {
  out_.write(rows.data(), static_cast<std::streamsize>(rows.size()));
}

void Write(const Animation& animation, CsvAnimationWriter& writer, std::size_t threads) {
  writer.Frames(animation, threads);
  writer.End();
}

} // namespace mien
