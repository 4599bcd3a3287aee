#include "host/view/page_data.h"

#include "tests/host/view/read_page.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using mien::PageData;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::IsNan;
using tests::FromBase64;
using tests::Json;
using tests::TableOf;

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// A table of one column, read back.
std::vector<double> ReadBack(const std::vector<double>& values, double step, Json* place = nullptr) {
  PageData data;
  const Json table =
      data.AddTable(values.size(), 1, step, [&](std::size_t r, std::size_t) { return values[r]; });
  if (place) *place = table;
  return TableOf(FromBase64(data.Base64()), table);
}

std::size_t Below(tests::Random& random, std::size_t count) {
  return static_cast<std::size_t>(random.Between(0, static_cast<double>(count)));
}

} // namespace

TEST(PageData, KeepsValuesToWithinHalfAStepAndWhatIsMissing) {
  EXPECT_THAT(ReadBack({1.26, kNone, -3, kNone, kNone, -2.8, 0}, 0.5),
              ElementsAre(1.5, IsNan(), -3, IsNan(), IsNan(), -3, 0));
  EXPECT_THAT(ReadBack({}, 1), ElementsAre());
  EXPECT_THAT(ReadBack({kNone, std::numeric_limits<double>::infinity()}, 1), ElementsAre(IsNan(), IsNan()));
}

TEST(PageData, TakesAsManyBytesAsTheDifferencesNeed) {
  const auto bytes = [](const std::vector<double>& values) {
    Json place;
    EXPECT_EQ(ReadBack(values, 1, &place), values);
    return place["bytes"].get<int>();
  };
  EXPECT_EQ(bytes({0, 127, 0, 100}), 1);
  EXPECT_EQ(bytes({0, 128}), 2);
  EXPECT_EQ(bytes({30000, 30001, -2000}), 2) << "differences";
  EXPECT_EQ(bytes({0, 40000}), 3);
  EXPECT_EQ(bytes({1e9, -1e9, 1e9}), 4);
}

TEST(PageData, FarValuesGetLargerSteps) {
  Json place;
  const std::vector<double> read = ReadBack({0.2, 3e12}, 0.05, &place);
  EXPECT_NEAR(read[1], 3e12, place["step"].get<double>() / 2);
  EXPECT_LE(place["step"].get<double>(), 5000);
}

TEST(PageData, RandomTablesSurviveWithinTheStep) {
  tests::Random random(7);
  for (int i = 0; i < 200; ++i) {
    const std::size_t rows = Below(random, 40), columns = Below(random, 6);
    const double step = std::pow(10, random.Between(-5, 2)), size = std::pow(10, random.Between(-3, 6));
    std::vector<double> values;
    for (std::size_t v = 0; v < rows * columns; ++v)
      values.push_back(Below(random, 10) == 0 ? kNone : random.Between(-size, size));
    PageData data;
    data.AddBytes(std::string(Below(random, 50), 'x')); // so that the table does not begin at 0
    const Json table = data.AddTable(rows, columns, step,
                                     [&](std::size_t r, std::size_t c) { return values[r * columns + c]; });
    const std::vector<double> read = TableOf(FromBase64(data.Base64()), table);
    ASSERT_EQ(read.size(), values.size());
    for (std::size_t v = 0; v < values.size(); ++v)
      if (std::isnan(values[v]))
        EXPECT_TRUE(std::isnan(read[v]));
      else
        EXPECT_NEAR(read[v], values[v], table["step"].get<double>() * 0.5000001);
  }
}

TEST(PageData, BytesComeBackOneByOne) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all.push_back(static_cast<char>(byte));
  for (const std::string& bytes : {all, std::string(), std::string(100000, '\0')}) {
    PageData data;
    const Json place = data.AddBytes(bytes);
    EXPECT_EQ(place["size"], bytes.size());
    EXPECT_EQ(tests::Inflated(FromBase64(data.Base64()), place, bytes.size()), bytes);
  }
}
