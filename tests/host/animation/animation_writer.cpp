#include "host/animation/animation_writer.h"

#include "host/animation/livelink_csv.h"
#include "host/animation/weight_csv.h"
#include "tests/failing_heap.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

using mien::Animation;
using mien::AnimationFrame;
using mien::AnimationLayout;
using mien::AnimationWriter;
using mien::LiveLinkCsvWriter;
using mien::WeightCsvWriter;
using mien::WeightKind;
using testing::ElementsAre;

namespace {

/// A layout with all columns that a row can have.
AnimationLayout Layout() {
  AnimationLayout layout;
  layout.shapes = {"jawOpen", "browInnerUp_L", "browInnerUp_R"};
  layout.timecode = mien::Timecode{.count = 86399 * 120, .rate = {120, 1}};
  return layout;
}

/// Writers of all formats that are written frame by frame.
std::vector<std::unique_ptr<AnimationWriter>> Writers(const AnimationLayout& layout, std::ostream& out) {
  std::vector<std::unique_ptr<AnimationWriter>> writers;
  writers.push_back(std::make_unique<WeightCsvWriter>(layout, WeightKind::Templates, out));
  writers.push_back(std::make_unique<WeightCsvWriter>(layout, WeightKind::Shapes, out));
  writers.push_back(std::make_unique<LiveLinkCsvWriter>(layout, out));
  return writers;
}

/// Discards everything that is written to it.
class Nowhere : public std::streambuf {
protected:
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
};

} // namespace

TEST(AnimationWriter, WriteGivesEveryFrameInOrderAndThenTheEnd) {
  struct Recorder : AnimationWriter {
    void Frame(const AnimationFrame& frame) override { calls.push_back(std::to_string(frame.number)); }
    void End() override { calls.emplace_back("end"); }
    std::vector<std::string> calls;
  };
  Animation animation;
  Recorder none;
  Write(animation, none);
  EXPECT_THAT(none.calls, ElementsAre("end"));

  animation.frames = {4, 9, 10};
  animation.times = {0, 1, 2};
  animation.heads.resize(3);
  animation.weights.resize(3 * animation.layout.templates.size());
  Recorder three;
  Write(animation, three);
  EXPECT_THAT(three.calls, ElementsAre("4", "9", "10", "end"));
}

// A concurrent reader gets each row as soon as its frame is written.
TEST(AnimationWriter, CsvRowsAreWrittenWithTheirFrames) {
  const AnimationLayout layout = Layout();
  const std::vector<double> weights(layout.templates.size(), 0.25), shape_weights(layout.shapes.size(), 0.5);
  for (std::size_t w = 0; w < 3; ++w) {
    std::ostringstream out;
    const auto writers = Writers(layout, out);
    AnimationWriter& writer = *writers[w];
    const auto lines = [&] {
      const std::string text = out.str();
      return text.ends_with('\n') ? std::count(text.begin(), text.end(), '\n') : -1;
    };
    EXPECT_EQ(lines(), 3) << "the header of each writer";
    for (int f = 1; f <= 3; ++f) {
      writer.Frame({.number = f, .time = 0.1 * f, .weights = weights, .shape_weights = shape_weights});
      EXPECT_EQ(lines(), 3 + f) << w;
    }
    const std::string before = out.str();
    writer.End();
    EXPECT_EQ(out.str(), before);
  }
}

// A stream may last for hours.
TEST(AnimationWriter, AfterItsLongestRowACsvAllocatesNothing) {
  const AnimationLayout layout = Layout();
  tests::Random random(5);
  std::vector<double> weights(layout.templates.size(), -1.2345678901234567e-300);
  std::vector<double> shape_weights(layout.shapes.size(), -1.2345678901234567e-300);
  AnimationFrame frame = {.number = -9223372036854775807,
                          .time = -1.2345678901234567e-300,
                          .weights = weights,
                          .shape_weights = shape_weights};
  Nowhere nowhere;
  std::ostream out(&nowhere);
  for (const auto& writer : Writers(layout, out)) {
    frame.time = -1.2345678901234567e-300;
    std::fill(shape_weights.begin(), shape_weights.end(), 1e15); // the longest with fixed decimals
    writer->Frame(frame);
    std::fill(shape_weights.begin(), shape_weights.end(), -1.2345678901234567e-300);
    writer->Frame(frame);
    for (int f = 0; f < 200; ++f) {
      frame.time = 0.0101 * f; // between counts, and above 100: the longest timecode
      for (double& weight : weights) weight = random.Between(-1, 1);
      for (double& weight : shape_weights) weight = random.Between(-1, 1);
      frame.head = tests::AnyMotion(random);
      ASSERT_FALSE(tests::RunsOutOfMemory(0, [&] { writer->Frame(frame); })) << f;
    }
  }
  EXPECT_TRUE(tests::RunsOutOfMemory(0, [] { const std::string allocated(100, 'x'); }))
      << "allocations are detected";
}
