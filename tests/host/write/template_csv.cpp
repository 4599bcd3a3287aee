#include "host/write/template_csv.h"

#include "tests/host/decimal_comma.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using mien::Animation;
using mien::WriteTemplateCsv;

namespace {

Animation TwoFrames() {
  Animation animation;
  animation.frames = {-7, 9007199254740993};
  animation.times = {-0.1, 1.0 / 3};
  animation.templates.resize(2);
  animation.weights = {0.1, -1.5, 1e-300, 123456.75};
  return animation;
}

const std::string kTwoFrames = "frame,time,Mouth.Open,Mouth.Whistle\n"
                               "-7,-0.1,0.1,-1.5\n"
                               "9007199254740993,0.3333333333333333,1e-300,123456.75\n";

std::string Written(const Animation& animation) {
  std::ostringstream out;
  WriteTemplateCsv(animation, out);
  return out.str();
}

} // namespace

TEST(TemplateCsv, HasARowPerFrameAndAColumnPerTemplate) { EXPECT_EQ(Written(TwoFrames()), kTwoFrames); }

TEST(TemplateCsv, NamesEveryTemplateOfTheFace) {
  const Animation animation;
  std::string header = "frame,time";
  for (const auto& column : animation.templates) header += ',' + column.name;
  EXPECT_EQ(Written(animation), header + '\n') << "and has no row without a frame";
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
  animation.templates.resize(animation.weights.size());
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

TEST(TemplateCsv, WritesPointsWhateverTheLocale) {
  const DecimalComma german;
  EXPECT_EQ(Written(TwoFrames()), kTwoFrames);
}

TEST(TemplateCsv, DoesNotCareHowTheStreamIsSet) {
  std::ostringstream out;
  out << std::hex << std::setprecision(2) << std::showpos << std::setfill('*') << std::setw(30);
  WriteTemplateCsv(TwoFrames(), out);
  EXPECT_EQ(out.str(), kTwoFrames);
}
