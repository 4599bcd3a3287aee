#include "host/formats/csv.h"

#include "tests/host/decimal_comma.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

using mien::Code;
using mien::CsvColumns;
using mien::CsvReader;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The number that stands alone in a row of a table with the one column "n".
double NumberFrom(const std::string& field) {
  const std::string text = "n\n" + field + "\n";
  CsvReader csv(text, "t.csv");
  if (!csv.Next()) throw std::logic_error("no row");
  return csv.Number(0);
}

std::string NumberError(const std::string& field) {
  return InputErrorOf([&] { NumberFrom(field); });
}

// All fields of all rows.
std::vector<std::vector<std::string>> Table(const std::string& text) {
  std::vector<std::vector<std::string>> table;
  CsvReader csv(text, "t.csv");
  while (csv.Next()) {
    table.emplace_back();
    for (std::size_t column = 0; column < csv.Columns().size(); ++column)
      table.back().emplace_back(csv.Text(column));
  }
  return table;
}

} // namespace

TEST(CsvColumns, LoseBlanksQuotesAndByteOrderMark) {
  EXPECT_THAT(CsvColumns("\xEF\xBB\xBF frame, X_0 ,\t\"a b\",c.d\r\n1,2,3,4"),
              ElementsAre("frame", "X_0", "a b", "c.d"));
}

TEST(CsvColumns, EmptyNamesAtTheEndAreNotColumns) {
  EXPECT_THAT(CsvColumns("a,,b,, ,\n"), ElementsAre("a", "", "b"));
}

TEST(CsvColumns, AreFoundBehindBlankLines) {
  EXPECT_THAT(CsvColumns("\r\n  \n,,\na,b"), ElementsAre("a", "b"));
}

TEST(CsvColumns, OfNothingAreNone) {
  EXPECT_THAT(CsvColumns(""), IsEmpty());
  EXPECT_THAT(CsvColumns("\xEF\xBB\xBF\n\n"), IsEmpty());
}

TEST(CsvReader, ReadsLineEndsOfBothKinds) {
  const auto expected = ElementsAre(ElementsAre("1", "2"), ElementsAre("3", "4"));
  EXPECT_THAT(Table("a,b\n1,2\n3,4\n"), expected);
  EXPECT_THAT(Table("a,b\r\n1,2\r\n3,4\r\n"), expected);
  EXPECT_THAT(Table("a,b\n1,2\r\n3,4"), expected);
  EXPECT_THAT(Table("a,b\r\n1,2\r\n3,4\r"), expected);
}

TEST(CsvReader, PassesOverRowsWithoutContent) {
  EXPECT_THAT(Table("\na,b\n\n1,2\n \t\n,\n,,,\n3,4\n\n\r\n"),
              ElementsAre(ElementsAre("1", "2"), ElementsAre("3", "4")));
}

TEST(CsvReader, ForgivesEmptyFieldsPastTheLastColumn) {
  EXPECT_THAT(Table("a,b,\n1,2,\n3,4\n5,6, , \t,\n"),
              ElementsAre(ElementsAre("1", "2"), ElementsAre("3", "4"), ElementsAre("5", "6")));
}

TEST(CsvReader, KeepsEmptyFieldsThatHaveAColumn) {
  EXPECT_THAT(Table("a,b,c\n,2,\n1,,\n"), ElementsAre(ElementsAre("", "2", ""), ElementsAre("1", "", "")));
}

TEST(CsvReader, FindsAnyFieldInAnyOrder) {
  // Wide enough that fields are skipped block by block, with fields of 0 to 6 digits.
  constexpr std::size_t kColumns = 300;
  std::string header = "n0";
  std::string row;
  std::vector<std::string> fields;
  for (std::size_t i = 0; i < kColumns; ++i) {
    if (i > 0) header += ",n" + std::to_string(i);
    fields.push_back(std::to_string(i * 7919 % 999983).substr(0, i % 7));
    row += (i > 0 ? "," : "") + fields.back();
  }
  const std::string text = header + "\n" + row + "\n";
  for (std::size_t from = 0; from < kColumns; from += 13)
    for (std::size_t to = 0; to < kColumns; ++to) {
      CsvReader csv(text, "t.csv");
      ASSERT_TRUE(csv.Next());
      EXPECT_EQ(csv.Text(from), fields[from]);
      EXPECT_EQ(csv.Text(to), fields[to]) << "from " << from << " to " << to;

      if (!fields[to].empty()) { EXPECT_EQ(csv.Number(to), std::stod(fields[to])); }
      EXPECT_FALSE(csv.Next());
    }
}

TEST(CsvReader, FindsColumnsByExactName) {
  const CsvReader csv("x_0, X_0,frame", "t.csv");
  EXPECT_EQ(csv.Column("X_0"), 1u);
  EXPECT_EQ(csv.Column("x_0"), 0u);
  EXPECT_EQ(csv.Column("frame"), 2u);
  EXPECT_EQ(csv.Column("Frame"), std::nullopt);
}

TEST(CsvReader, RefusesToChooseBetweenTwoColumnsOfAName) {
  const CsvReader csv("a,b, a\n", "t.csv");
  EXPECT_EQ(csv.Column("b"), 1u);
  EXPECT_EQ(InputErrorOf([&] { csv.Column("a"); }),
            "t.csv:1: the column \"a\" occurs twice; keep the right one");
}

TEST(CsvReader, RowCutShortNamesLineAndFirstColumnLost) {
  const std::string fix = "; complete the row or remove it";
  EXPECT_EQ(InputErrorOf([] { Table("a,b,c\n1,2,3\n4,5\n6,7,8\n"); }),
            "t.csv:3: column \"c\": the row is cut short: it has 2 fields and the header 3" + fix);
  EXPECT_EQ(InputErrorOf([] {
              CsvReader csv("a,b,c\n1", "t.csv");
              csv.Next();
              csv.Number(1);
            }),
            "t.csv:2: column \"b\": the row is cut short: it has 1 field and the header 3" + fix);
}

TEST(CsvReader, ChecksRowsOfWhichNothingWasAsked) {
  for (const char* text : {"a,b,c\n1,2\n3,4,5\n", "a,b,c\n1,2\n"})
    EXPECT_EQ(InputErrorOf([&] {
                CsvReader csv(text, "t.csv");
                while (csv.Next()) {}
              }),
              "t.csv:2: column \"c\": the row is cut short: it has 2 fields and the header 3; complete the "
              "row or remove it");
}

TEST(CsvReader, TooManyFieldsNameTheLineThoughOnlyTheFirstWasAsked) {
  EXPECT_EQ(InputErrorOf([] {
              CsvReader csv("a,b\n1,2\n3,4,,5\n6,7\n", "t.csv");
              while (csv.Next()) csv.Number(0);
            }),
            "t.csv:3: the row has 4 fields and the header 2; write one field per column, with decimal points "
            "and not "
            "commas");
}

TEST(CsvReader, NumbersAreExactDoubles) {
  EXPECT_EQ(NumberFrom("12.5"), 12.5);
  EXPECT_EQ(NumberFrom(" \t-0.1 "), -0.1);
  EXPECT_EQ(NumberFrom("+7"), 7);
  EXPECT_EQ(NumberFrom("1e3"), 1000);
  EXPECT_EQ(NumberFrom("2.E-2"), 0.02);
  EXPECT_EQ(NumberFrom(".5"), 0.5);
  EXPECT_EQ(NumberFrom("1.7976931348623157e+308"), std::numeric_limits<double>::max());
  EXPECT_EQ(NumberFrom("4.9406564584124654e-324"), std::numeric_limits<double>::denorm_min());
  EXPECT_TRUE(std::signbit(NumberFrom("-0.0")));
}

namespace {

// What std::from_chars makes of a whole field, as bits; nothing where it is not a finite number.
std::optional<std::uint64_t> Bits(std::string_view field) {
  double value = 0;
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
  if (error != std::errc() || end != field.data() + field.size() || !std::isfinite(value))
    return std::nullopt;
  return std::bit_cast<std::uint64_t>(value);
}

// The same by the reader, with `behind` after the field.
std::optional<std::uint64_t> ReadBits(std::string_view field, const char* behind) {
  const std::string text = "n,m,l\n" + std::string(field) + behind;
  CsvReader csv(text, "t.csv");
  try {
    if (csv.Next()) return std::bit_cast<std::uint64_t>(csv.Number(0));
  } catch (const mien::InputError&) {}
  return std::nullopt;
}

// Beside what is at once at the end of its line or far from it.
void ExpectBitsOfFromChars(std::string_view field) {
  for (const char* behind : {"", "\n", ",1\n", ",123456789,123456789\n", "  \t ,123456789\n"})
    ASSERT_EQ(ReadBits(field, behind), Bits(field)) << '"' << field << '"' << behind;
}

} // namespace

TEST(CsvReader, EveryShortFieldIsTheNumberThatFromCharsMakesOfIt) {
  // Around the digits in ASCII, and a digit with its highest bit set.
  constexpr std::string_view kAlphabet = "059.-/:e\xB1";
  constexpr int kLongest = 4;
  std::vector<std::string> fields = {""};
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!fields[i].empty()) ExpectBitsOfFromChars(fields[i]);
    if (fields[i].size() < kLongest)
      for (const char c : kAlphabet) fields.push_back(fields[i] + c);
  }
  EXPECT_EQ(fields.size(), 1u + 9 + 81 + 729 + 6561);
}

TEST(CsvReader, DecimalsOfAnyLengthAreTheNumbersThatFromCharsMakesOfThem) {
  std::mt19937_64 random(3);
  for (int i = 0; i < 20000; ++i) {
    std::string field = random() % 2 == 0 ? "-" : "";
    const std::size_t digits = 1 + random() % 24;
    const std::size_t point = random() % (digits + 3); // none, for the last two
    for (std::size_t k = 0; k < digits; ++k) {
      if (k == point) field += '.';
      field += static_cast<char>('0' + random() % 10);
    }
    if (point == digits) field += '.';
    ExpectBitsOfFromChars(field);
  }
}

TEST(CsvReader, DecimalsAtTheLimitOfWhatADoubleHoldsAreThoseOfFromChars) {
  // 2^53 and its neighbours, 19 and 20 digits, blocks of eight that end behind the point or behind a digit.
  for (const char* field : {"0.9007199254740991",
                            "0.9007199254740992",
                            "0.9007199254740993",
                            "900719.9254740993",
                            "-9.007199254740993",
                            "0.000000000000000001",
                            "0.0000000000000000001",
                            "0.1234567890123456789",
                            "0.0900719925474099",
                            "1234567.",
                            "1234567.8",
                            "123456.7",
                            "0.123456",
                            "0.1234567",
                            "0.12345678901234",
                            "0.1234567e5",
                            "0.123456789e-7",
                            "0.1234567x",
                            "0.12345678.9",
                            "1234567.89012345678"})
    ExpectBitsOfFromChars(field);
}

TEST(CsvReader, NumberIfAnySeparatesEmptyFieldsNumbersNanAndInfinity) {
  CsvReader csv("a,b,c,d,e,f\n1.5,, ,nan,-NaN(2),inf\n", "t.csv");
  ASSERT_TRUE(csv.Next());
  EXPECT_EQ(csv.NumberIfAny(0), 1.5);
  EXPECT_EQ(csv.NumberIfAny(1), std::nullopt);
  EXPECT_EQ(csv.NumberIfAny(2), std::nullopt);
  EXPECT_TRUE(std::isnan(csv.NumberIfAny(3).value_or(0)));
  EXPECT_TRUE(std::isnan(csv.NumberIfAny(4).value_or(0)));
  EXPECT_TRUE(std::isinf(csv.NumberIfAny(5).value_or(0)));
  EXPECT_EQ(csv.NumberIfAny(0), 1.5);
  EXPECT_FALSE(csv.Next());
}

TEST(CsvReader, NanAndInfinityAreReadAsWindowsWritesThem) {
  const std::string text = "a,b,c,d,e\n-1.#IND,1.#QNAN,-1.#INF,1e999,1e-999\n";
  CsvReader csv(text, "t.csv");
  ASSERT_TRUE(csv.Next());
  EXPECT_TRUE(std::isnan(csv.NumberIfAny(0).value_or(0)));
  EXPECT_TRUE(std::isnan(csv.NumberIfAny(1).value_or(0)));
  for (const std::size_t column : {2u, 3u, 4u}) EXPECT_TRUE(std::isinf(csv.NumberIfAny(column).value_or(0)));
}

TEST(CsvReader, GiantFieldsAreShownInPart) {
  EXPECT_EQ(NumberError(std::string(1 << 20, 'x')),
            "t.csv:2: column \"n\": \"" + std::string(60, 'x') +
                "...\" is not a number; write a plain number, such as 12.5");
  EXPECT_EQ(NumberFrom(std::string(1 << 20, '0') + "7.5"), 7.5);
}

TEST(CsvReader, FindsEachOfThousandsOfColumns) {
  std::string header;
  for (int i = 0; i < 5000; ++i) header += "c" + std::to_string(i * 7919 % 5000) + ",";
  const CsvReader csv(header, "t.csv");
  for (int i = 0; i < 5000; ++i)
    EXPECT_EQ(csv.Column("c" + std::to_string(i * 7919 % 5000)), static_cast<std::size_t>(i));
  EXPECT_EQ(csv.Column("c"), std::nullopt);
  EXPECT_EQ(csv.Column("d"), std::nullopt);
}

TEST(CsvReader, WhatIsNotANumberIsShownWithItsPlace) {
  const std::string fix = "; write a plain number, such as 12.5";
  for (const std::string field :
       {"abc", "1.2.3", "1e", "1e+", "-", "+", "+-1", "++1", "-+1", ".", "0x10", "1 2", "12mm", "1;2"})
    EXPECT_EQ(NumberError(field), "t.csv:2: column \"n\": \"" + field + "\" is not a number" + fix);
  EXPECT_EQ(NumberError(std::string("1\0", 2)), "t.csv:2: column \"n\": \"1?\" is not a number" + fix);
}

TEST(CsvReader, NanAndInfinityAreNotPositions) {
  for (const std::string field : {"nan", "NaN", "-nan", "nan(1)", "inf", "-inf", "Infinity"})
    EXPECT_EQ(NumberError(field), "t.csv:2: column \"n\": \"" + field +
                                      "\" is not a finite number; write a plain number, such as 12.5");
}

TEST(CsvReader, NumbersTooLargeOrTooSmallForADoubleAreNotBent) {
  for (const std::string field : {"1e999", "-1e999", "1.8e308", "1e-400", "1e99999999999999999999"})
    EXPECT_EQ(NumberError(field),
              "t.csv:2: column \"n\": \"" + field +
                  "\" is beyond the range of a double; write a plain number, such as 12.5");
}

TEST(CsvReader, EmptyFieldIsNotANumber) {
  EXPECT_EQ(InputErrorOf([] {
              CsvReader csv("a,b\n1,\n", "t.csv");
              csv.Next();
              csv.Number(1, "write any");
            }),
            "t.csv:2: column \"b\": the field is empty; write any");
}

TEST(CsvReader, IntegersAreWholeHoweverWritten) {
  CsvReader csv("a,b,c\n7,7.0,-9007199254740992\n", "t.csv");
  ASSERT_TRUE(csv.Next());
  EXPECT_EQ(csv.Integer(0), 7);
  EXPECT_EQ(csv.Integer(1), 7);
  EXPECT_EQ(csv.Integer(2), -9007199254740992);
}

TEST(CsvReader, IntegersWithAFractionOrBeyondExactDoublesAreRefused) {
  for (const std::string field : {"7.5", "1e16", "-1e300"})
    EXPECT_EQ(InputErrorOf([&] {
                const std::string text = "n\n" + field;
                CsvReader csv(text, "t.csv");
                csv.Next();
                csv.Integer(0);
              }),
              "t.csv:2: column \"n\": \"" + field +
                  "\" is not a whole number; write a whole number, such as 12");
}

TEST(CsvReader, CountsLinesAcrossBlankOnes) {
  EXPECT_EQ(InputErrorOf([] { Table("\n\na,b\r\n\r\n1,2\r\n\r\n3\r\n4,5"); }).substr(0, 8), "t.csv:7:");
}

namespace {

// The notes on a text of which every field was read as a number, but where it begins with a letter.
std::vector<mien::Note> NotesOn(const std::string& text) {
  CsvReader csv(text, "t.csv");
  while (csv.Next())
    for (std::size_t column = 0; column < csv.Columns().size(); ++column)
      if (csv.Text(column).find_first_not_of("abcdefghijklmnopqrstuvwxyz") == 0) csv.NumberIfAny(column);
  std::vector<mien::Note> notes;
  csv.Finish(notes);
  return notes;
}

// All fields of all rows as numbers.
std::vector<std::vector<double>> Numbers(const std::string& text) {
  std::vector<std::vector<double>> table;
  CsvReader csv(text, "t.csv");
  while (csv.Next()) {
    table.emplace_back();
    for (std::size_t column = 0; column < csv.Columns().size(); ++column)
      table.back().push_back(csv.Number(column));
  }
  return table;
}

} // namespace

TEST(CsvReader, TablesThatKeepTheRulesGetNoNotes) {
  EXPECT_THAT(NotesOn("a,b\r\n1,2.5\r\n\r\n3,\r\n"), IsEmpty());
  EXPECT_THAT(NotesOn("\"a\",\"b\"\n\"1\",\"2.5\"\n3,4"), IsEmpty());
  EXPECT_THAT(NotesOn("a,b\n"), IsEmpty());
}

TEST(CsvReader, CarriageReturnsBeforeALineEndAreDroppedAndNoted) {
  EXPECT_THAT(Table("a,b\r\r\n1,2\r\r\n\r\r\n3,4\r\r\n"),
              ElementsAre(ElementsAre("1", "2"), ElementsAre("3", "4")));
  EXPECT_THAT(NotesOn("a,b\r\r\n1,2\r\r\n"),
              ElementsAre(IsNote(Code::Syntax, "line 1", "the line ends are CR CR LF")));
}

TEST(CsvReader, SemicolonsAndTabsSeparateWhereTheHeaderHasNoCommas) {
  EXPECT_THAT(CsvColumns(" a;\"b;c\" ; d;\n"), ElementsAre("a", "b;c", "d"));
  EXPECT_THAT(CsvColumns("a\tb c\t\td\t\n"), ElementsAre("a", "b c", "", "d"));
  EXPECT_THAT(CsvColumns("a;b,c\n"), ElementsAre("a;b", "c"));
  EXPECT_THAT(CsvColumns("\"a,b\";c\n"), ElementsAre("a,b", "c"));
  EXPECT_THAT(Numbers("a;b;c\n 1.5 ;-2;3e1\n;;\n4;5;6;;\n"),
              ElementsAre(ElementsAre(1.5, -2, 30), ElementsAre(4, 5, 6)));
  EXPECT_THAT(Numbers("a\tb\n 1.5 \t-2\n\t\n3\t4\t\t\n"),
              ElementsAre(ElementsAre(1.5, -2), ElementsAre(3, 4)));
  EXPECT_THAT(Table("a\tb\tc\n\t\tx\n"), ElementsAre(ElementsAre("", "", "x")));
  EXPECT_THAT(Table("a\tb\tc\n\t \t\"x\"\n"), ElementsAre(ElementsAre("", "", "x")));
  EXPECT_THAT(NotesOn("\na;b\n1.5;2\n"),
              ElementsAre(IsNote(Code::Syntax, "line 2", "the columns are separated by semicolons")));
  EXPECT_THAT(NotesOn("a\tb\n1\t2\n"), ElementsAre("line 1: the columns are separated by tabs"));
  EXPECT_EQ(InputErrorOf([] { Numbers("a;b\n1;2\n1;2;3\n"); }).substr(0, 46),
            "t.csv:3: the row has 3 fields and the header 2");
}

TEST(CsvReader, DecimalCommasAreReadWhereNothingElseTheyCanBe) {
  EXPECT_THAT(Numbers("a;b;c;d\n1,5;-0,25;+12,5e-1;,5\n"), ElementsAre(ElementsAre(1.5, -0.25, 1.25, 0.5)));
  EXPECT_THAT(Numbers("a,b\n\"1,5\",\"-12\"\n"), ElementsAre(ElementsAre(1.5, -12)));
  EXPECT_THAT(NotesOn("a;b\n1;2\n1,5;2,25\n3,5;4\n"),
              ElementsAre("line 1: the columns are separated by semicolons",
                          IsNote(Code::Syntax, "line 3", "decimal commas, as in \"1,5\"")));
  EXPECT_THAT(NotesOn("a,b\n1,2\n\"1,5\",2\n"), ElementsAre("line 3: decimal commas, as in \"1,5\""));
  EXPECT_EQ(InputErrorOf([] { Numbers("a;b\n1;1.234,5\n"); }),
            "t.csv:2: column \"b\": \"1.234,5\" is not a number; write a plain number, such as 12.5");
}

TEST(CsvReader, CommasThatMaySeparateThousandsAreRefused) {
  const std::string fix = "; save the table with decimal points, and nothing between the thousands";
  const auto error = [](const std::string& text) { return InputErrorOf([&] { NotesOn(text); }); };
  EXPECT_EQ(error("a;b\n1;2\n1,234;12,345\n"), "t.csv:3: \"1,234\" has a comma, and nothing shows whether "
                                               "the commas are decimal or separate thousands" +
                                                   fix);
  EXPECT_EQ(error("a,b\n\"1,234\",5\n"), "t.csv:2: \"1,234\" has a comma, and nothing shows whether the "
                                         "commas are decimal or separate thousands" +
                                             fix);
  EXPECT_EQ(error("a;b\n1,234;2,5\n"), "no InputError");
  EXPECT_EQ(error("a;b\n0,033;1,234\n"), "no InputError");
  EXPECT_EQ(error("a,b\n\"1,5\",0.5\n"), "t.csv:2: \"1,5\" has a comma, and other numbers have points" + fix);
  EXPECT_EQ(error("a;b\n0.5;2\n1,5;2\n"),
            "t.csv:3: \"1,5\" has a comma, and other numbers have points" + fix);
  EXPECT_EQ(error("a;b\n1,5;e.g. x\n"), "no InputError") << "not a point of a number";
}

TEST(CsvReader, QuotesAreTakenOffAndWhatTheyHoldIsOneField) {
  EXPECT_THAT(
      Table("a,b,c\n\"1\", \" 2 \" ,3\n4,\"x, y\",\"5\"\n\"\",\"\",\"6\"\n"),
      ElementsAre(ElementsAre("1", "2", "3"), ElementsAre("4", "x, y", "5"), ElementsAre("", "", "6")));
  EXPECT_THAT(Table("a,b\n\"say \"\"a\"\"\",\"\"\"\"\n5\" wide,x\"y\"\n"),
              ElementsAre(ElementsAre("say \"a\"", "\""), ElementsAre("5\" wide", "x\"y\"")));
  EXPECT_THAT(Table("\"a;\";b\n\"1;\";\"2\"\n"), ElementsAre(ElementsAre("1;", "2")));
  EXPECT_THAT(Numbers("a,b,c\n\"1.5\",2,\"-3\"\n4,5,6\n"),
              ElementsAre(ElementsAre(1.5, 2, -3), ElementsAre(4, 5, 6)));
  // In any order, as without quotes.
  CsvReader csv("a,b,c\n\"1\",\"2\",\"3\"\n", "t.csv");
  ASSERT_TRUE(csv.Next());
  EXPECT_EQ(csv.Number(2), 3);
  EXPECT_EQ(csv.Number(0), 1);
  EXPECT_EQ(csv.Text(1), "2");
  EXPECT_FALSE(csv.Next());
}

TEST(CsvReader, QuotedRowsAreCountedAndShownLikeOthers) {
  EXPECT_EQ(InputErrorOf([] { Numbers("a,b\n1,2\n\"1\",\"2\",\"3\"\n"); }).substr(0, 46),
            "t.csv:3: the row has 3 fields and the header 2");
  EXPECT_EQ(InputErrorOf([] { Numbers("a,b\n1,\"x, y\"\n"); }),
            "t.csv:2: column \"b\": \"x, y\" is not a number; write a plain number, such as 12.5");
  EXPECT_EQ(ProblemOf([] { Numbers("a,b\n1,2\n\"1\"\n5,6\n"); }), "truncated at 3");
}

TEST(CsvReader, AQuoteMustBeClosedInItsLine) {
  EXPECT_EQ(InputErrorOf([] { Table("a,b\n1,\"2\n3\",4\n5,6\n"); }),
            "t.csv:2: a quote is opened and not closed in its line; close it, and keep each row in one line");
  EXPECT_EQ(ProblemOf([] { Table("a,b\n\"1\"\",2\n3,4\n"); }), "syntax at 2");
}

TEST(CsvReader, ALastRowThatIsCutShortIsLeftOutAndNoted) {
  for (const char* end : {"5", "5,", "5,6", "5,6\n", "5,6\n\n,,\n", "\"5", "5,\"6,7"}) {
    const std::string text = std::string("a,b,c\n1,2,3\n") + end;
    EXPECT_THAT(Table(text), ElementsAre(ElementsAre("1", "2", "3"))) << end;
    EXPECT_THAT(NotesOn(text), ElementsAre(IsNote(Code::Truncated, "line 3",
                                                  "the file ends inside the row, which is left out")))
        << end;
  }
  // The only row is not left out, nor one with others behind it.
  EXPECT_EQ(ProblemOf([] { Table("a,b,c\n1,2\n"); }), "truncated at 2");
  EXPECT_EQ(ProblemOf([] { Table("a,b,c\n1,2,3\n4,5\n6,7,8"); }), "truncated at 3");
  EXPECT_EQ(ProblemOf([] { Table("a,b,c\n\"1,2,3\n"); }), "syntax at 2");
}

TEST(CsvReader, ARowThatCannotBeReadIsCutOnlyWhereTheFileEndsInIt) {
  const auto left_out = [](const char* text) {
    CsvReader csv(text, "t.csv");
    bool cut = false;
    while (csv.Next()) {
      try {
        csv.Number(1);
      } catch (const mien::InputError&) { cut = csv.LeaveOutIfCut(); }
    }
    return cut;
  };
  EXPECT_TRUE(left_out("a,b\n1,2\n3,4e"));
  EXPECT_FALSE(left_out("a,b\n1,2\n3,4e\n"));
  EXPECT_FALSE(left_out("a,b\n1,2\n3,4e\r"));
  EXPECT_FALSE(left_out("a,b\n1,2e"));
  EXPECT_FALSE(left_out("a,b\n1,2e\n3,4"));
}

TEST(CsvReader, BareCarriageReturnsAreNamed) {
  EXPECT_EQ(InputErrorOf([] { Table("a,b\r1,2\r3,4\r"); }),
            "t.csv:1: the line ends are bare carriage returns; save the file with LF or CRLF line ends");
}

TEST(CsvReader, HeaderMustBeUtf8) {
  const std::string refusal = "t.csv:1: the column names are not UTF-8 text; save the file as UTF-8";
  for (const char* name : {"K\xF6rper", "\xC3", "\xC3(", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80",
                           "\xF0\x80\x80\xAF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\x80", "\xE2\x82"})
    EXPECT_EQ(InputErrorOf([&] { Table(std::string(name) + "\n1\n"); }), refusal) << name;
  for (const char* name :
       {"K\xC3\xB6rper", "\xE2\x82\xAC", "\xED\x9F\xBF", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"})
    EXPECT_THAT(Table(std::string(name) + "\n1\n"), ElementsAre(ElementsAre("1"))) << name;
}

TEST(CsvReader, TableWithoutHeaderIsRefused) {
  EXPECT_EQ(InputErrorOf([] { Table("\"\"\n1\n"); }),
            "t.csv:1: there is no header; name the columns in the first row");
}

TEST(CsvReader, NumbersDoNotFollowTheLocale) {
  const DecimalComma germany;
  std::ostringstream proof;
  proof << 1.5;
  ASSERT_EQ(proof.str(), "1,5") << "the trap itself is not set";
  EXPECT_EQ(NumberFrom("1234.5"), 1234.5);
}

TEST(CsvReader, FaultsHaveCodesAndTheirLine) {
  const auto problem = [](const std::string& text) {
    return ProblemOf([&] {
      CsvReader csv(text, "t.csv");
      csv.Column("n");
      while (csv.Next()) csv.Integer(0);
    });
  };
  EXPECT_EQ(problem("n\r1\r"), "syntax at 1");
  EXPECT_EQ(problem("n\xE9\n1\n"), "unsupported at 1");
  EXPECT_EQ(problem("\n\n"), "missing at 2");
  EXPECT_EQ(problem("n,n\n"), "duplicate at 1");
  EXPECT_EQ(problem("n,m\n1,2\n,2\n"), "missing at 3");
  EXPECT_EQ(problem("n\nx\n"), "invalid-value at 2");
  EXPECT_EQ(problem("n\nnan\n"), "invalid-value at 2");
  EXPECT_EQ(problem("n\n1e999\n"), "invalid-value at 2");
  EXPECT_EQ(problem("n\n1.5\n"), "invalid-value at 2");
  EXPECT_EQ(problem("n,m\n1\n"), "truncated at 2");
  EXPECT_EQ(problem("n,m\n1,2,3\n"), "syntax at 2");
}

TEST(CsvReader, EstimatesHowManyRowsAreLeft) {
  CsvReader csv("a,b\n1,2\n3,4\n5,6\n", "file.csv");
  EXPECT_EQ(csv.LikelyRowsLeft(), 0U); // no row has been read
  ASSERT_TRUE(csv.Next());
  EXPECT_EQ(csv.LikelyRowsLeft(), 2U);
}
