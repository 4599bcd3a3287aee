#include "host/formats/c3d_timing.h"

#include "host/formats/c3d.h"
#include "tests/host/formats/read_c3d.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <utility>

using mien::Code;
using mien::Take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::C3dBuilder;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(C3dTiming, FirstFrameKeepsItsNumberAndTime) {
  C3dBuilder file;
  file.header[4] = 91;
  file.header[5] = 93;
  Take take = Read(file);
  EXPECT_THAT(take.frames, ElementsAre(91, 92, 93));
  EXPECT_THAT(take.times, ElementsAre(0.90, 0.91, 0.92));

  file.header[4] = 65535;
  EXPECT_EQ(Read(file).frames.front(), 65535);

  file.Words("TRIAL", "ACTUAL_START_FIELD", {4464, 1});
  take = Read(file);
  EXPECT_EQ(take.frames.front(), 70000);
  EXPECT_EQ(take.times.front(), 699.99);

  file.header[4] = 0;
  file.Words("TRIAL", "ACTUAL_START_FIELD", {0, 0});
  EXPECT_THAT(Read(file).frames, ElementsAre(1, 2, 3));
}

TEST(C3dTiming, RatesAreFractionsWhereTheyAreKnownOnes) {
  C3dBuilder file;
  file.Reals("POINT", "RATE", {59.94});
  file.header_reals[11] = 59.94;
  EXPECT_EQ(Read(file).rate, (mien::FrameRate{60000, 1001}));

  file.header_reals[11] = 25;
  const Take take = Read(file);
  EXPECT_EQ(take.rate, (mien::FrameRate{60000, 1001}));
  EXPECT_THAT(take.notes, ElementsAre(Says(HasSubstr("the header's 25 Hz; the first is taken"))));
}

TEST(C3dTiming, RateThatIsMissingIsSaid) {
  for (const double none : {0.0, -5.0, kNan, std::numeric_limits<double>::infinity()}) {
    C3dBuilder file;
    file.Reals("POINT", "RATE", {none});
    file.header_reals[11] = none;
    const Take take = Read(file);
    EXPECT_EQ(take.rate, (mien::FrameRate{100, 1}));
    EXPECT_THAT(take.notes, ElementsAre("the file gives no frame rate; taken as 100 Hz (--input-rate)"));
  }
}

TEST(C3dTiming, ARateThatIsMissingCanBeNamed) {
  C3dBuilder file;
  const auto read = [&] { return mien::ReadC3d(file.Bytes(), "t", mien::FrameRate{25, 1}); };
  EXPECT_EQ(ProblemOf(read), "usage at no place") << "the file has one";
  file.Reals("POINT", "RATE", {0});
  EXPECT_EQ(ProblemOf(read), "usage at no place") << "in its header";
  file.header_reals[11] = 0;
  const Take take = read();
  EXPECT_EQ(take.rate, (mien::FrameRate{25, 1}));
  EXPECT_THAT(take.times, ElementsAre(0, 0.04, 0.08));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(C3dTiming, ExactRateAndTimecodeOfOurOwn) {
  C3dBuilder file;
  file.Reals("POINT", "RATE", {29.97});
  file.Texts("MIEN", "RATE", {"2997/100"});
  file.Texts("MIEN", "TIMECODE", {"10:02:59:29@30"});
  file.header_reals[11] = 29.97;
  Take take = Read(file);
  EXPECT_EQ(take.rate, (mien::FrameRate{2997, 100}));
  EXPECT_EQ(ToText(*take.timecode), "10:02:59:29@30");
  EXPECT_THAT(take.notes, IsEmpty());

  file.Texts("MIEN", "RATE", {"120/1"});
  file.Texts("MIEN", "TIMECODE", {"noon"});
  take = Read(file);
  EXPECT_EQ(take.rate, (mien::FrameRate{30000, 1001}));
  EXPECT_FALSE(take.timecode);
  EXPECT_THAT(take.notes, ElementsAre("MIEN:RATE is \"120/1\", which POINT:RATE contradicts; ignored",
                                      "MIEN:TIMECODE is \"noon\", which is not a timecode; ignored"));
}

TEST(C3dTiming, NotesHaveCodes) {
  const auto notes = [](const std::function<void(C3dBuilder&)>& change) {
    C3dBuilder file;
    change(file);
    return Read(file).notes;
  };
  EXPECT_THAT(notes([](C3dBuilder& file) { file.header_reals[11] = 25; }),
              ElementsAre(IsNote(Code::Contradiction, "", "POINT:RATE is 100 Hz")));
  EXPECT_THAT(notes([](C3dBuilder& file) { file.Remove("POINT", "RATE"); }),
              ElementsAre(IsNote(Code::Missing, "", "POINT:RATE is missing")));
  EXPECT_THAT(notes([](C3dBuilder& file) {
                file.header_reals[11] = 0;
                file.Remove("POINT", "RATE");
              }),
              ElementsAre(IsNote(Code::Assumed, "", "the file gives no frame rate")));
  EXPECT_THAT(notes([](C3dBuilder& file) {
                file.Texts("MIEN", "RATE", {"120/1"});
                file.Texts("MIEN", "TIMECODE", {"noon"});
                file.Texts("MIEN", "FIRST_FRAME", {"one"});
              }),
              ElementsAre(IsNote(Code::Contradiction, "", "MIEN:RATE is"),
                          IsNote(Code::InvalidValue, "", "MIEN:TIMECODE is"),
                          IsNote(Code::InvalidValue, "", "MIEN:FIRST_FRAME is")));
}

TEST(C3dTiming, RatesThatAreOffByMoreThanAThousandthAreNoted) {
  for (const auto& [header, noted] :
       {std::pair(100.09, false), {100.11, true}, {99.91, false}, {99.89, true}}) {
    C3dBuilder file;
    file.header_reals[11] = header;
    EXPECT_EQ(Read(file).rate, (mien::FrameRate{100, 1}));
    EXPECT_EQ(Read(file).notes.size(), noted ? 1u : 0u) << header;
  }
}

// POINT:RATE is this rate in single precision, which is off by less than a millionth.
TEST(C3dTiming, AnExactRateOfOurOwnIsThatOfPointRateToAMillionth) {
  for (const auto& [text, believed] :
       {std::pair("299700002/10000000", true), {"29970028/1000000", true}, {"29970032/1000000", false}}) {
    C3dBuilder file;
    file.Reals("POINT", "RATE", {29.97});
    file.header_reals[11] = 29.97;
    file.Texts("MIEN", "RATE", {text});
    const Take take = Read(file);
    EXPECT_EQ(take.rate == mien::ParseFrameRate(text), believed) << text;
    EXPECT_EQ(take.notes.empty(), believed) << text;
  }
}

TEST(C3dTiming, AFirstFrameOfOurOwnIsWithinTwoToThe48th) {
  for (const auto& [text, first] : {std::pair("281474976710656", std::int64_t{1} << 48),
                                    {"-281474976710656", -(std::int64_t{1} << 48)},
                                    {"281474976710657", 1},
                                    {"-281474976710657", 1},
                                    {"7.5", 1}}) {
    C3dBuilder file;
    file.Texts("MIEN", "FIRST_FRAME", {text});
    const Take take = Read(file);
    EXPECT_EQ(take.frames.front(), first) << text;
    EXPECT_EQ(take.notes.empty(), first != 1) << text;
  }
}
