#include "samples/mesh_files.h"

#include "host/formats/mesh_mirror.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien::samples {

namespace {

// The image, 1280 x 720 pixels, shows 640 x 360 mm.
constexpr double kPixelsPerMm = 2, kWidth = 1280, kHeight = 720;

constexpr std::string_view kAxes = "xyz";

double Rounded(double value, double steps) { return std::floor(value * steps + 0.5) / steps; }

struct Frame {
  std::vector<std::array<double, 3>> points; // as parts of the image
  double blink = 0, jaw = 0;                 // the known weights of LeftEye.Close and Mouth.Open
};

using Frames = std::vector<Frame>;

// Every seventh frame of the take: they show a blink and an open mouth.
Frames FramesOf(const Take& mesh, const Animation& known) {
  constexpr std::size_t kStep = 7, kCount = 5;
  const auto weight = [&known](std::size_t frame, std::string_view name) {
    for (std::size_t c = 0; c < known.layout.templates.size(); ++c)
      if (known.layout.templates[c].name == name) return known.Weight(frame, c);
    return 0.0;
  };
  constexpr double kSteps = 1e5; // decimals in the files: 0.006 mm
  Frames frames;
  for (std::size_t f = 0; f < kStep * kCount; f += kStep) {
    Frame& frame = frames.emplace_back();
    frame.blink = weight(f, "LeftEye.Close");
    frame.jaw = weight(f, "Mouth.Open");
    for (std::size_t i = 0; i < mesh.MarkerCount(); ++i) {
      const Point& p = *mesh.At(f, i);
      frame.points.push_back({Rounded(0.5 + p.x * kPixelsPerMm / kWidth, kSteps),
                              Rounded(0.5 - p.y * kPixelsPerMm / kHeight, kSteps),
                              Rounded(-p.z * kPixelsPerMm / kWidth, kSteps)});
    }
  }
  return frames;
}

double Seconds(std::size_t frame) { return 0.25 * static_cast<double>(frame); }

std::string Wide(const Frames& frames) {
  std::string text = "frame,timestamp_ms";
  const auto to = std::back_inserter(text);
  for (std::size_t i = 0; i < kMeshPoints; ++i)
    for (const char axis : kAxes) fmt::format_to(to, ",{}_{}", axis, i);
  for (std::size_t f = 0; f < frames.size(); ++f) {
    fmt::format_to(to, "\n{},{}", f + 1, 1000 * Seconds(f));
    for (const auto& point : frames[f].points) fmt::format_to(to, ",{}", fmt::join(point, ","));
  }
  return text + '\n';
}

// All x, then all y, then all z, in pixels with z as a part of the image's width; the rows are out of order, a
// number is derived from the points.
std::string PlanarInPixels(const Frames& frames) {
  std::string text = "Name,Time (s)";
  const auto to = std::back_inserter(text);
  for (const char axis : kAxes)
    for (std::size_t i = 0; i < kMeshPoints; ++i) fmt::format_to(to, ",feat_{}_{}", i, axis);
  text += ",feat_0_xdiff\n";
  for (std::size_t k = 0; k < frames.size(); ++k) {
    const std::size_t f = k * 2 % frames.size(); // 0, 2, 4, 1, 3
    fmt::format_to(to, "Ada,{}", Seconds(f));
    constexpr double kSizes[] = {kWidth, kHeight, 1};
    for (std::size_t axis = 0; axis < kAxes.size(); ++axis)
      for (const auto& point : frames[f].points)
        fmt::format_to(to, ",{}", Rounded(point[axis] * kSizes[axis], axis < 2 ? 1e2 : 1e5));
    fmt::format_to(to, ",{}\n", f);
  }
  return text;
}

// 33 points of the body, then the face without irises; counted from 1, each with its visibility.
std::string WithBody(const Frames& frames) {
  constexpr std::size_t kBody = 33;
  std::string text = "class";
  const auto to = std::back_inserter(text);
  for (std::size_t i = 1; i <= kBody + kMeshWithoutIrises; ++i) fmt::format_to(to, ",x{0},y{0},z{0},v{0}", i);
  for (const Frame& frame : frames) {
    text += "\nspeaking";
    for (std::size_t i = 0; i < kBody; ++i)
      fmt::format_to(to, ",{},{},-0.5,1", 0.3 + 0.0125 * static_cast<double>(i), 0.9);
    for (std::size_t i = 0; i < kMeshWithoutIrises; ++i)
      fmt::format_to(to, ",{},0", fmt::join(frame.points[i], ","));
  }
  return text + '\n';
}

std::string Long(const Frames& frames) {
  std::string text = "frame,time_s,face,landmark,x,y,z\n";
  for (std::size_t f = 0; f < frames.size(); ++f)
    for (std::size_t i = 0; i < kMeshPoints; ++i)
      fmt::format_to(std::back_inserter(text), "{},{},0,{},{}\n", f, Seconds(f), i,
                     fmt::join(frames[f].points[i], ","));
  return text;
}

// {"x": ..} of each point of a frame.
std::string PointObjects(const Frame& frame) {
  std::string text;
  for (const auto& [x, y, z] : frame.points)
    fmt::format_to(std::back_inserter(text), R"({}{{"x":{},"y":{},"z":{}}})", text.empty() ? "" : ",", x, y,
                   z);
  return text;
}

// An array of results as JavaScript has them. Of the 52 weights only a few, of the matrix the identity 50 cm
// away.
std::string Results(const Frames& frames) {
  std::string text = "[";
  for (std::size_t f = 0; f < frames.size(); ++f)
    fmt::format_to(
        std::back_inserter(text),
        R"({}{{"timestampMs":{},"faceLandmarks":[[{}]],"faceBlendshapes":[{{"categories":[)"
        R"({{"index":0,"score":0,"categoryName":"_neutral","displayName":""}},)"
        R"({{"index":9,"score":{},"categoryName":"eyeBlinkLeft","displayName":""}},)"
        R"({{"index":25,"score":{},"categoryName":"jawOpen","displayName":""}}],"headIndex":-1,"headName":""}}],)"
        R"("facialTransformationMatrixes":[{{"rows":4,"columns":4,"data":[1,0,0,0,0,1,0,0,0,0,1,0,0,0,-50,1]}}]}})",
        f > 0 ? ",\n" : "", 1000 * Seconds(f), PointObjects(frames[f]), frames[f].blink, frames[f].jaw);
  return text + "]\n";
}

// A result a line as Python has them.
std::string ResultLines(const Frames& frames) {
  std::string text;
  for (std::size_t f = 0; f < frames.size(); ++f)
    fmt::format_to(std::back_inserter(text),
                   R"({{"frame": {}, "timestamp_ms": {}, "result": {{"face_landmarks": [[{}]], )"
                   R"("face_blendshapes": [[{{"index": 9, "score": {}, "category_name": "eyeBlinkLeft"}}, )"
                   R"({{"index": 25, "score": {}, "category_name": "jawOpen"}}]], )"
                   R"("facial_transformation_matrixes": [[[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, 1, -50], )"
                   R"([0, 0, 0, 1]]]}}}})"
                   "\n",
                   f + 1, 1000 * Seconds(f), PointObjects(frames[f]), frames[f].blink, frames[f].jaw);
  return text;
}

std::string Weights(const Frames& frames) {
  std::string text =
      "frame,timestamp_ms,timestamp_sec,_neutral,eyeBlinkLeft,eyeBlinkRight,jawOpen,mouthFunnel\n";
  for (std::size_t f = 0; f < frames.size(); ++f)
    fmt::format_to(std::back_inserter(text), "{},{},{},0,{},{},{},0\n", f + 1, 1000 * Seconds(f), Seconds(f),
                   frames[f].blink, frames[f].blink, frames[f].jaw);
  return text;
}

// The table of a phone app, of which a few columns of shapes; the timecode counts 60 a second.
std::string PhoneWeights(const Frames& frames) {
  std::string text =
      "Timecode,BlendShapeCount,EyeBlinkLeft,EyeBlinkRight,JawOpen,MouthFunnel,HeadYaw,HeadPitch,"
      "HeadRoll,LeftEyeYaw,LeftEyePitch,LeftEyeRoll,RightEyeYaw,RightEyePitch,RightEyeRoll\n";
  for (std::size_t f = 0; f < frames.size(); ++f) {
    const std::size_t count = 15 * f; // since the first frame's second
    fmt::format_to(std::back_inserter(text), "10:02:{:02}:{:02}.500,13,{},{},{},0,0,0,0,0,0,0,0,0,0\n",
                   58 + count / 60, count % 60, frames[f].blink, frames[f].blink, frames[f].jaw);
  }
  return text;
}

// All frames of the take as a phone app has them, of a person whose blinks read 0.7.
std::string PhoneTalk(const Animation& known) {
  std::string text = "Timecode,BlendShapeCount,EyeBlinkLeft,EyeBlinkRight,JawOpen\n";
  const std::vector<std::string> names = known.layout.WeightNames(WeightKind::Templates);
  const auto weight = [&](std::size_t f, std::string_view name, double low, double high) {
    for (std::size_t c = 0; c < names.size(); ++c)
      if (names[c] == name) return Rounded(low + (high - low) * known.Weight(f, c), 1e4);
    return 0.0;
  };
  for (std::size_t f = 0; f < known.frames.size(); ++f) {
    const std::size_t count = 2 * f; // 60 a second
    fmt::format_to(std::back_inserter(text), "10:02:{:02}:{:02}.500,3,{},{},{}\n", 30 + count / 60,
                   count % 60, weight(f, "LeftEye.Close", 0.02, 0.7), weight(f, "RightEye.Close", 0.02, 0.7),
                   weight(f, "Mouth.Open", 0, 0.8));
  }
  return text;
}

// As trackers of 68 landmarks write action units, from 0 to 5, here without the landmarks.
std::string ActionUnits(const Frames& frames) {
  std::string text =
      "frame, timestamp, confidence, success, AU12_r, AU26_r, AU45_r, AU12_c, AU26_c, AU45_c\n";
  for (std::size_t f = 0; f < frames.size(); ++f)
    fmt::format_to(std::back_inserter(text), "{}, {}, 0.98, 1, 0, {}, {}, 0, {}, {}\n", f + 1, Seconds(f),
                   5 * frames[f].jaw, 5 * frames[f].blink, frames[f].jaw > 0.2 ? 1 : 0,
                   frames[f].blink > 0.2 ? 1 : 0);
  return text;
}

std::string LongWeights(const Frames& frames) {
  std::string text = "frame,time_s,face,name,score\n";
  for (std::size_t f = 0; f < frames.size(); ++f)
    for (const auto& [name, score] :
         {std::pair("eyeBlinkLeft", frames[f].blink), std::pair("eyeBlinkRight", frames[f].blink),
          std::pair("jawOpen", frames[f].jaw), std::pair("mouthFunnel", 0.0)})
      fmt::format_to(std::back_inserter(text), "{},{},0,{},{}\n", f, Seconds(f), name, score);
  return text;
}

// As a recorder of weights stores them, in milliseconds since 1970.
std::string RecordedWeights(const Frames& frames) {
  constexpr std::int64_t kStart = 1'700'000'000'000;
  std::string text = "[";
  for (std::size_t f = 0; f < frames.size(); ++f)
    fmt::format_to(std::back_inserter(text),
                   R"({}{{"timestamp":{},"blendshapes":[{{"name":"eyeBlinkLeft","score":{}}},)"
                   R"({{"name":"eyeBlinkRight","score":{}}},{{"name":"jawOpen","score":{}}},)"
                   R"({{"name":"mouthFunnel","score":0}}]}})",
                   f > 0 ? ",\n" : "", kStart + 250 * static_cast<std::int64_t>(f), frames[f].blink,
                   frames[f].blink, frames[f].jaw);
  return text + "]\n";
}

} // namespace

std::map<std::string, std::string> MeshFiles(const Take& mesh, const Animation& known) {
  const Frames frames = FramesOf(mesh, known);
  return {{"mesh/action_units.csv", ActionUnits(frames)},
          {"mesh/long.csv", Long(frames)},
          {"mesh/planar_pixels.csv", PlanarInPixels(frames)},
          {"mesh/result_lines.json", ResultLines(frames)},
          {"mesh/results.json", Results(frames)},
          {"mesh/talk_phone.csv", PhoneTalk(known)},
          {"mesh/weights.csv", Weights(frames)},
          {"mesh/weights_long.csv", LongWeights(frames)},
          {"mesh/weights_phone.csv", PhoneWeights(frames)},
          {"mesh/weights_recorded.json", RecordedWeights(frames)},
          {"mesh/wide.csv", Wide(frames)},
          {"mesh/with_body.csv", WithBody(frames)}};
}

} // namespace mien::samples
