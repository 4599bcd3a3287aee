#include "host/animation/weight_csv.h"

#include "tests/host/decimal_comma.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using mien::Animation;
using mien::WeightCsvWriter;
using mien::WeightKind;

namespace {

Animation TwoFrames() {
  Animation animation;
  animation.frames = {-7, 9007199254740993};
  animation.times = {-0.1, 1.0 / 3};
  animation.layout.templates.resize(2);
  animation.weights = {0.1, -1.5, 1e-300, 123456.75};
  animation.heads.resize(2);
  return animation;
}

const std::string kTwoFrames = "frame,time,Mouth.Open,Mouth.Whistle\n"
                               "-7,-0.1,0.1,-1.5\n"
                               "9007199254740993,0.3333333333333333,1e-300,123456.75\n";

std::string Written(const Animation& animation, WeightKind weights = WeightKind::Templates) {
  std::ostringstream out;
  WeightCsvWriter writer(animation.layout, weights, out);
  Write(animation, writer);
  return out.str();
}

/// Two frames of shapes with these names, whose weights rise by a quarter.
std::string WrittenShapes(const std::vector<std::string>& names) {
  Animation animation = TwoFrames();
  animation.layout.shapes = names;
  for (std::size_t i = 0; i < 2 * names.size(); ++i)
    animation.shape_weights.push_back(0.25 * static_cast<double>(i));
  return Written(animation, WeightKind::Shapes);
}

} // namespace

TEST(TemplateCsv, HasARowPerFrameAndAColumnPerTemplate) { EXPECT_EQ(Written(TwoFrames()), kTwoFrames); }

TEST(TemplateCsv, NamesEveryTemplateOfTheFace) {
  const Animation animation;
  std::string header = "frame,time";
  for (const auto& column : animation.layout.templates) header += ',' + column.name;
  EXPECT_EQ(Written(animation), header + '\n') << "no row without a frame";
}

TEST(TemplateCsv, NumbersReadBackToTheSameBits) {
  Animation animation;
  animation.frames = {1};
  animation.times = {0};
  animation.weights = {0.1 + 0.2,
                       -0.0,
                       std::nextafter(1.0, 2),
                       std::numeric_limits<double>::min(),
                       std::numeric_limits<double>::denorm_min(),
                       std::numeric_limits<double>::max()};
  animation.layout.templates.resize(animation.weights.size());
  animation.heads.resize(1);
  std::istringstream in(Written(animation));
  std::string field;
  std::getline(in, field); // the header
  for (int skipped = 0; skipped < 2; ++skipped) std::getline(in, field, ',');
  for (const double weight : animation.weights) {
    std::getline(in, field, ',');
    const double read = std::strtod(field.c_str(), nullptr);
    EXPECT_EQ(read, weight) << field;
    EXPECT_EQ(std::signbit(read), std::signbit(weight)) << field;
  }
}

TEST(TemplateCsv, WritesDecimalPointsInAnyLocale) {
  const DecimalComma german;
  EXPECT_EQ(Written(TwoFrames()), kTwoFrames);
}

TEST(TemplateCsv, DoesNotDependOnTheStreamsFormat) {
  std::ostringstream out;
  out << std::hex << std::setprecision(2) << std::showpos << std::setfill('*') << std::setw(30);
  const Animation animation = TwoFrames();
  WeightCsvWriter writer(animation.layout, WeightKind::Templates, out);
  Write(animation, writer);
  EXPECT_EQ(out.str(), kTwoFrames);
}

// Counted from the first frame, whatever its time: a take need not start at 0.
TEST(TemplateCsv, HasTheTimecodeOfEachFrameIfThereIsOne) {
  Animation animation = TwoFrames();
  animation.frames = {1, 2};
  animation.times = {100, 100.25};
  animation.layout.timecode = mien::Timecode{.count = 36000 * 30, .rate = {30, 1}};
  EXPECT_EQ(Written(animation), "frame,time,timecode,Mouth.Open,Mouth.Whistle\n"
                                "1,100,10:00:00:00,0.1,-1.5\n"
                                "2,100.25,10:00:00:07.500,1e-300,123456.75\n");
}

TEST(ShapeCsv, HasARowPerFrameAndAColumnPerShape) {
  EXPECT_EQ(WrittenShapes({"jawOpen", "smile_L", "ä b"}),
            "frame,time,jawOpen,smile_L,ä b\n"
            "-7,-0.1,0,0.25,0.5\n"
            "9007199254740993,0.3333333333333333,0.75,1,1.25\n");
}

TEST(ShapeCsv, WithoutShapesHasOnlyTheTimes) {
  EXPECT_EQ(WrittenShapes({}), "frame,time\n-7,-0.1\n9007199254740993,0.3333333333333333\n");
}

TEST(ShapeCsv, NamesThatWouldBreakTheTableAreQuoted) {
  EXPECT_EQ(WrittenShapes({"a,b", "say \"hi\"", "\"", "two\nlines", "c\rd", "it's; a\ttab", " "}),
            "frame,time,\"a,b\",\"say \"\"hi\"\"\",\"\"\"\","
            "\"two\nlines\",\"c\rd\",it's; a\ttab, \n"
            "-7,-0.1,0,0.25,0.5,0.75,1,1.25,1.5\n"
            "9007199254740993,0.3333333333333333,1.75,2,2.25,2.5,2.75,3,3.25\n");
}

TEST(ShapeCsv, WritesDecimalPointsInAnyLocale) {
  const std::string written = WrittenShapes({"a", "b"});
  const DecimalComma german;
  EXPECT_EQ(WrittenShapes({"a", "b"}), written);
}

TEST(WeightCsv, IsTheSameForAnyNumberOfThreads) {
  for (const std::size_t shapes : {3u, 12'000u}) { // the rows of the second are longer than a thread's turn
    Animation animation;
    animation.layout.templates.clear();
    for (std::size_t i = 0; i < shapes; ++i) animation.layout.shapes.push_back("s" + std::to_string(i));
    const std::size_t frames = shapes == 3 ? 30'000 : 200;
    for (std::size_t f = 0; f < frames; ++f) {
      animation.frames.push_back(static_cast<std::int64_t>(f));
      animation.times.push_back(static_cast<double>(f) / 60);
    }
    animation.heads.resize(frames);
    for (std::size_t i = 0; i < frames * shapes; ++i)
      animation.shape_weights.push_back(static_cast<double>(i % 1009) / 1009);
    for (const std::size_t threads : {1u, 2u, 7u}) {
      std::ostringstream out;
      WeightCsvWriter writer(animation.layout, WeightKind::Shapes, out);
      Write(animation, writer, threads);
      EXPECT_TRUE(out.str() == Written(animation, WeightKind::Shapes)) << threads << " threads";
    }
  }
}
