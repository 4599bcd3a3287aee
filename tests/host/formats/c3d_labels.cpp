#include "host/formats/c3d_labels.h"

#include "tests/host/formats/read_c3d.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using mien::Code;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::C3dBuilder;

// More than 255 labels continue in LABELS2, LABELS3 and so on.
TEST(C3dLabels, LabelsBeyond255AreContinued) {
  for (const int count : {254, 255, 256, 510, 511}) {
    C3dBuilder file;
    file.Frames(2, count);
    std::vector<std::string> expected;
    for (int first = 0, part = 1; first < count; first += 255, ++part) {
      std::vector<std::string> labels;
      for (int i = first; i < std::min(first + 255, count); ++i) labels.push_back(fmt::format("M{}", i + 1));
      file.Texts("POINT", part == 1 ? "LABELS" : fmt::format("LABELS{}", part), labels);
      expected.insert(expected.end(), labels.begin(), labels.end());
    }
    const Take take = Read(file);
    EXPECT_EQ(take.markers, expected) << count;
    EXPECT_THAT(take.notes, IsEmpty());
  }
}

TEST(C3dLabels, MissingBlankRepeatedAndSurplusLabels) {
  C3dBuilder file;
  file.Frames(2, 5);
  file.Texts("POINT", "LABELS", {"A", "A", "", "A"});
  Take take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("A", "A (2)", "point 3", "A (3)", "point 5"));
  EXPECT_THAT(take.notes, ElementsAre("4 labels for 5 points; the others are named \"point 5\" and so on",
                                      "blank label, named \"point 3\"",
                                      "repeated label, which gets a number: \"A\" and 1 more"));

  file.Texts("POINT", "LABELS", {"A", "B", "C", "D", "E", "F"});
  take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("A", "B", "C", "D", "E"));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(C3dLabels, LabelsThatAreNotUtf8AreLatin1) {
  C3dBuilder file;
  file.Set("POINT", "LABELS",
           {-1,
            {4, 2},
            {},
            "Br\xFC "
            "\xC3\xBC  "});
  const Take take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("Br\xC3\xBC", "\xC3\xBC"));
  EXPECT_THAT(take.notes, ElementsAre("label that is not UTF-8, read as Latin-1: \"Br\xC3\xBC\""));
}

TEST(C3dLabels, NotesHaveCodes) {
  C3dBuilder file;
  file.Frames(1, 6);
  file.Texts("POINT", "LABELS", {"Chin", "", "Chin", "Br\xFC", "Chin"});
  EXPECT_THAT(
      Read(file).notes,
      ElementsAre(IsNote(Code::Missing, "", "5 labels for 6 points"),
                  IsNote(Code::Missing, "", "blank label, named \"point 2\""),
                  IsNote(Code::Assumed, "", "label that is not UTF-8"),
                  IsNote(Code::Duplicate, "", "repeated label, which gets a number: \"Chin\" and 1 more")));
}
