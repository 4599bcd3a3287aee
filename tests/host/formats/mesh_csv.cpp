#include "host/formats/mesh_csv.h"

#include "host/formats/read_take.h"
#include "tests/host/formats/mesh_face.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

using mien::Code;
using mien::Point;
using mien::ReadOptions;
using mien::ReadTake;
using mien::Take;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr char kAxes[] = "xyz";

// A table whose row r has the face moved by r millimetres to the left, in an image of 640 x 360 mm.
struct Layout {
  std::function<std::string(std::size_t point, std::size_t axis)> name;
  std::size_t points = 478;
  std::size_t body = 0;
  bool planar = false;
  std::string front = "frame,time_s", behind = "";
};

double Coordinate(const Point& p, std::size_t axis) { return axis == 0 ? p.x : axis == 1 ? p.y : p.z; }

std::string Header(const Layout& layout) {
  std::string text = layout.front;
  const std::size_t count = layout.points + layout.body;
  for (std::size_t i = 0; i < 3 * count; ++i)
    text += "," + (layout.planar ? layout.name(i % count, i / count) : layout.name(i / 3, i % 3));
  return text + layout.behind + "\n";
}

std::string Row(const Layout& layout, double shift, const std::string& front,
                const std::string& behind = "") {
  const std::vector<Point> face = MeshFace(layout.points);
  const std::size_t count = layout.points + layout.body;
  std::string text = front;
  for (std::size_t i = 0; i < 3 * count; ++i) {
    const std::size_t point = layout.planar ? i % count : i / 3, axis = layout.planar ? i / count : i % 3;
    double value = 0.125;
    if (point >= layout.body) {
      Point p = face[point - layout.body];
      p.x += shift;
      value = Coordinate(InImage(p), axis);
    }
    text += fmt::format(",{}", value);
  }
  return text + behind + "\n";
}

std::string Table(const Layout& layout) {
  return Header(layout) + Row(layout, 0, "1,0", layout.behind.empty() ? "" : ",9") +
         Row(layout, 1, "2,0.04", layout.behind.empty() ? "" : ",9");
}

std::string Interleaved(std::size_t point, std::size_t axis) {
  return fmt::format("{}_{}", kAxes[axis], point);
}

} // namespace

TEST(MeshCsv, EveryLayoutOfColumnsIsTheSameTake) {
  const auto prefixed = [](const char* format) {
    return [format](std::size_t point, std::size_t axis) {
      return fmt::format(fmt::runtime(format), point, kAxes[axis]);
    };
  };
  const std::vector<Layout> layouts = {
      {Interleaved},
      {Interleaved, 478, 0, true},
      {Interleaved, 468},
      {Interleaved, 478, 33},
      {[](std::size_t p, std::size_t a) { return fmt::format("{}{}", kAxes[a], p + 1); }, 468, 33},
      {[](std::size_t p, std::size_t a) { return fmt::format("{}_face_{}", kAxes[a], p); }},
      {prefixed("face_landmark_{}_{}")},
      {prefixed("lm_mp_{}_{}"), 478, 0, true},
      {prefixed("feat_{}_{}"), 478, 0, false, "frame,time_s", ",feat_0_xdiff"},
      {prefixed("{}{}")},
      {prefixed("landmark[{}].{}")},
  };
  for (const Layout& layout : layouts) {
    SCOPED_TRACE(Header(layout).substr(0, 60));
    const Take take = ReadTake(Table(layout), "face.csv", With640x360());
    EXPECT_EQ(take.format, "mesh CSV");
    ASSERT_EQ(take.MarkerCount(), layout.points);
    EXPECT_EQ(take.markers.front(), "lm0");
    EXPECT_EQ(take.markers.back(), fmt::format("lm{}", layout.points - 1));
    EXPECT_EQ(take.frames, (std::vector<std::int64_t>{1, 2}));
    EXPECT_EQ(take.rate.Hz(), 25);
    ExpectFace(take, 0, 0);
    ExpectFace(take, 1, 1);
    if (layout.body == 0)
      EXPECT_THAT(take.notes, IsEmpty());
    else
      EXPECT_THAT(take.notes, ElementsAre(IsNote(Code::Ignored, "", "the first 33 of ")));
  }
}

// Two rows whose points have a visibility and a class or a file in front.
TEST(MeshCsv, WhatIsBesideThePointsIsIgnored) {
  for (const auto& [front, cells] :
       {std::pair("class", "happy"), std::pair("filename", "face_x_1.png"),
        std::pair("video_filename,frame_num,emotion", "take_x_1.mp4,7,happy"), std::pair("Frame", "7")}) {
    std::string header = front, rows[] = {cells, cells};
    if (const auto number = rows[1].rfind('7'); number != std::string::npos) rows[1][number] = '8';
    for (std::size_t i = 0; i < 478; ++i) {
      header += fmt::format(",x{0},y{0},z{0},v{0}", i + 1);
      for (double shift : {0.0, 1.0}) {
        Point p = MeshFace()[i];
        p.x += shift;
        p = InImage(p);
        rows[shift == 0 ? 0 : 1] += fmt::format(",{},{},{},0.999", p.x, p.y, p.z);
      }
    }
    const Take take = ReadTake(header + "\n" + rows[0] + "\n" + rows[1] + "\n", "face.csv", With640x360());
    ASSERT_EQ(take.MarkerCount(), 478u) << front;
    ExpectFace(take, 0, 0);
    ExpectFace(take, 1, 1);
    EXPECT_EQ(take.frames[0], header.find("rame_num") != std::string::npos || front[0] == 'F' ? 7 : 1)
        << front;
    EXPECT_THAT(take.notes, Contains(IsNote(Code::Assumed, "", "no times; taken as 30 Hz"))) << front;
  }
}

TEST(MeshCsv, TimesHaveEveryUsualName) {
  for (const auto& [front, row] :
       std::vector<std::pair<std::string, std::string>>{{"frame,timestamp_ms", "2,40"},
                                                        {"frame,timestamp_ms,timestamp_sec", "2,40,0.04"},
                                                        {"Frame,Time (s)", "2,0.04"},
                                                        {"name,frame_num,time_s", "clip,2,0.04"}}) {
    Layout layout{Interleaved};
    layout.front = front;
    std::string first = row;
    for (const char* digits : {"40", "0.04"})
      if (const auto at = first.find(digits); at != std::string::npos)
        first.replace(at, std::string(digits).size(), "0");
    first.replace(first.find('2'), 1, "1");
    const Take take =
        ReadTake(Header(layout) + Row(layout, 0, first) + Row(layout, 1, row), "face.csv", With640x360());
    EXPECT_EQ(take.rate.Hz(), 25) << front;
    EXPECT_THAT(take.notes, IsEmpty()) << front;
  }
}

TEST(MeshCsv, UnsortedRowsAreSortedByTime) {
  const Layout layout{Interleaved};
  const Take take =
      ReadTake(Header(layout) + Row(layout, 2, "3,0.08") + Row(layout, 0, "1,0") + Row(layout, 1, "2,0.04"),
               "face.csv", With640x360());
  for (std::size_t frame = 0; frame < 3; ++frame) ExpectFace(take, frame, static_cast<double>(frame));
  EXPECT_THAT(take.notes, ElementsAre(IsNote(Code::Order, "line 3", "the time 0 s comes after 0.08 s")));
}

TEST(MeshCsv, ALostFaceIsAGapWhateverStandsForIt) {
  const Layout layout{Interleaved};
  for (const char* cell : {"", "NaN", "nan", "0"}) {
    std::string lost = "2,0.04";
    for (int i = 0; i < 3 * 478; ++i) lost += "," + std::string(cell);
    const Take take =
        ReadTake(Header(layout) + Row(layout, 0, "1,0") + lost + "\n" + Row(layout, 2, "3,0.08"), "face.csv",
                 With640x360());
    ExpectFace(take, 0, 0);
    for (std::size_t i = 0; i < 478; ++i) EXPECT_EQ(take.At(1, i), nullptr);
    ExpectFace(take, 2, 2);
    EXPECT_THAT(take.notes, IsEmpty()) << '"' << cell << '"';
  }
}

TEST(MeshCsv, HalfAPointIsAGapAndNoted) {
  const Layout layout{Interleaved};
  std::string row = Row(layout, 0, "1,0");
  const std::size_t first = row.find(',', 2) + 1; // x_0
  row.replace(first, row.find(',', first) - first, "");
  const Take take = ReadTake(Header(layout) + row + Row(layout, 1, "2,0.04"), "face.csv", With640x360());
  EXPECT_EQ(take.At(0, 0), nullptr);
  EXPECT_NE(take.At(0, 1), nullptr);
  EXPECT_THAT(take.notes, ElementsAre(Says(HasSubstr("the first: line 2, column \"x_0\""))));
}

TEST(MeshCsv, OfSeveralFacesOneIsRead) {
  Layout layout{Interleaved};
  layout.front = "frame,time_s,face";
  const std::string text = Header(layout) + Row(layout, 0, "1,0,0") + Row(layout, 50, "1,0,1") +
                           Row(layout, 1, "2,0.04,0") + Row(layout, 51, "2,0.04,1");
  ReadOptions options = With640x360();
  const Take first = ReadTake(text, "face.csv", options);
  ExpectFace(first, 1, 1);
  EXPECT_THAT(first.notes, ElementsAre(Says(HasSubstr("2 faces in the file; read face 0"))));
  options.face = 1;
  const Take second = ReadTake(text, "face.csv", options);
  ExpectFace(second, 1, 51);
  EXPECT_THAT(second.notes, IsEmpty());
  options.face = 7;
  EXPECT_THAT(InputErrorOf([&] { ReadTake(text, "face.csv", options); }), HasSubstr("there is no face 7"));
}

TEST(MeshCsv, OtherNumbersOfPointsAreRefusedWithTheNumberExpected) {
  for (const std::size_t points : {467u, 477u, 479u, 500u, 543u}) {
    std::string header = "frame,time", row = "1,0";
    for (std::size_t p = 0; p < points; ++p) {
      header += fmt::format(",x_{0},y_{0},z_{0}", p);
      row += ",0.5,0.5,0.5";
    }
    EXPECT_THAT(
        InputErrorOf([&] { ReadTake(header + "\n" + row + "\n", "face.csv"); }),
        HasSubstr(fmt::format("the table has {} points, \"x_0\" to \"z_{}\"; the face mesh has 468 or 478",
                              points, points - 1)));
  }
}

TEST(MeshCsv, AMissingOrDoubledColumnIsNamed) {
  const std::string text = Table({Interleaved});
  const auto with = [&](const std::string& from, const std::string& to) {
    std::string changed = text;
    changed.replace(changed.find(from), from.size(), to);
    return InputErrorOf([&] { ReadTake(changed, "face.csv"); });
  };
  EXPECT_THAT(with(",y_17,", ",other,"), HasSubstr("face.csv:1: point 17 has no y"));
  EXPECT_THAT(with(",y_17,", ",y_16,"), HasSubstr("the column \"y_16\" occurs twice"));
}

TEST(MeshCsv, TimesInAnotherUnitThanTheirNameAreNoted) {
  Layout layout{Interleaved};
  layout.front = "frame,time_s";
  const auto notes = [&](const std::string& front, const std::string& step) {
    layout.front = front;
    return ReadTake(Header(layout) + Row(layout, 0, "1,0") + Row(layout, 1, "2," + step), "face.csv",
                    With640x360())
        .notes;
  };
  EXPECT_THAT(
      notes("frame,time_s", "40"),
      Contains(IsNote(Code::Doubtful, "",
                      "\"time_s\" is expected to be in seconds, and its values rise by 40 a frame, as "
                      "milliseconds do")));
  EXPECT_THAT(
      notes("frame,timestamp_ms", "0.04"),
      Contains(IsNote(Code::Doubtful, "",
                      "\"timestamp_ms\" is expected to be in milliseconds, and its values rise by 0.04 a "
                      "frame, as seconds do")));
  EXPECT_THAT(notes("frame,time_s", "1"), IsEmpty()); // a picture a second is one
}

TEST(MeshCsv, MarkersInMillimetresStayMarkerCsv) {
  Layout layout{[](std::size_t p, std::size_t a) { return fmt::format("lm{}.{}", p, kAxes[a]); }};
  layout.front = "frame,time";
  EXPECT_EQ(ReadTake(Table(layout), "face.csv").format, "mesh CSV"); // parts of an image
  std::string text = Header(layout) + "1,0";
  for (int i = 0; i < 3 * 478; ++i) text += ",12.5";
  EXPECT_EQ(ReadTake(text + "\n", "face.csv").format, "marker CSV");
}

TEST(MeshCsv, WithoutDepthTheFaceIsFlatAndNoted) {
  std::string text = "frame,time";
  for (int i = 0; i < 478; ++i) text += fmt::format(",x{0},y{0}", i);
  text += "\n1,0";
  const std::vector<Point> face = MeshFace();
  for (const Point& p : face) text += fmt::format(",{},{}", InImage(p).x, InImage(p).y);
  const Take take = ReadTake(text + "\n", "face.csv", With640x360());
  for (std::size_t i = 0; i < 478; ++i) {
    EXPECT_NEAR(take.At(0, i)->x, 320 + face[i].x, 1e-9);
    EXPECT_EQ(take.At(0, i)->z, 0);
  }
  EXPECT_THAT(take.notes, Contains(IsNote(Code::Missing, "",
                                          "x, y and z are expected, and the landmarks have no depth (z)")));
}
