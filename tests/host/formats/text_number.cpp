#include "host/formats/text_number.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>

using mien::TextNumber;
using mien::ValueOf;
using Kind = TextNumber::Kind;

TEST(TextNumber, NumbersHaveADecimalPointOrOneComma) {
  for (const auto& [text, number] : std::initializer_list<std::pair<const char*, double>>{{"12.5", 12.5},
                                                                                          {"-12,5", -12.5},
                                                                                          {"+7", 7},
                                                                                          {",5", 0.5},
                                                                                          {"1,5e3", 1500},
                                                                                          {"1e-3", 0.001},
                                                                                          {"-0", 0}}) {
    EXPECT_EQ(ValueOf(text).kind, Kind::Number) << text;
    EXPECT_EQ(ValueOf(text).number, number) << text;
    EXPECT_EQ(ValueOf(text).comma, std::string(text).find(',') != std::string::npos) << text;
  }
}

TEST(TextNumber, NanAndInfinityHaveManySpellings) {
  for (const char* text : {"", "nan", "NaN", "-nan(ind)", "1.#IND", "-1.#QNAN"})
    EXPECT_EQ(ValueOf(text).kind, Kind::Empty) << text;
  for (const char* text : {"inf", "-Infinity", "1.#INF", "-1.#INF", "1e999", "-1e999"})
    EXPECT_EQ(ValueOf(text).kind, Kind::Infinite) << text;
}

TEST(TextNumber, AnythingElseIsText) {
  for (const char* text : {"x", "1.2.3", "1,2,3", "1.234,5", "1,234.5", "12mm", "1 2", "+-1", "-+1", "1,",
                           ",", "1,x", "0x10", " 1"})
    EXPECT_EQ(ValueOf(text).kind, Kind::Text) << text;
}

TEST(TextNumber, ACommaCanSeparateThousandsBeforeThreeDigitsAlone) {
  for (const char* text : {"1,234", "-12,345", "123,456"}) EXPECT_FALSE(ValueOf(text).no_thousands) << text;
  for (const char* text : {"1,23", "1,2345", "0,123", "-0,123", "1234,567", ",123"})
    EXPECT_TRUE(ValueOf(text).no_thousands) << text;
}
