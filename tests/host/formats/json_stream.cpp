#include "host/formats/json_stream.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

using mien::JsonStream;

namespace {

/// Counts nulls and numbers.
class Counter : public mien::JsonEvents {
public:
  std::size_t nulls = 0, numbers = 0;

  void StartDocument() override {}
  bool null() override {
    ++nulls;
    return true;
  }
  bool boolean(bool /*value*/) override { return true; }
  bool number_integer(number_integer_t /*value*/) override { return ++numbers > 0; }
  bool number_unsigned(number_unsigned_t /*value*/) override { return ++numbers > 0; }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return ++numbers > 0; }
  bool string(string_t& /*value*/) override { return true; }
  bool start_object(std::size_t /*elements*/) override { return true; }
  bool key(string_t& /*key*/) override { return true; }
  bool end_object() override { return true; }
  bool start_array(std::size_t /*elements*/) override { return true; }
  bool end_array() override { return true; }
};

} // namespace

// The text is searched for NaN in parts of four megabytes.
TEST(JsonStream, FindsTheOnlyNanOfALongTextWhereverItStands) {
  constexpr std::size_t kPart = std::size_t{1} << 22;
  for (const std::size_t at : {std::size_t{8}, kPart - 3, kPart - 2, kPart - 1, kPart, 2 * kPart - 1}) {
    std::string text = "[1," + std::string(at - 3, ' ') + "NaN,2" + std::string(kPart, ' ') + "]";
    ASSERT_EQ(text.find("NaN"), at);
    Counter counter;
    std::vector<mien::Note> notes;
    JsonStream(text).Parse(counter, "f.json", notes, [] { return false; });
    EXPECT_EQ(counter.nulls, 1u) << at;
    EXPECT_EQ(counter.numbers, 2u) << at;
  }
}
