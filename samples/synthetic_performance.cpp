// Every number is computed with +, -, *, / and sqrt, which round the same everywhere: all compilers and build
// types write the same bytes.

#include "samples/synthetic_performance.h"

#include "host/animation/weight_csv.h"
#include "host/character/character_file.h"
#include "host/face/face_glb.h"
#include "host/formats/landmark_csv.h"
#include "host/formats/marker_csv.h"
#include "host/formats/mesh_mirror.h"
#include "host/formats/mesh_space.h"
#include "host/performer/performer_file.h"
#include "mien/face/face.h"
#include "samples/avatars.h"
#include "samples/mesh_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace mien::samples {

namespace {

// --- The performance.

constexpr int kFrames = 360;
constexpr int kRateHz = 30;
constexpr double kNoiseMm = 0.07; // standard deviation per axis, as in good optical systems

/// One template that rises smoothly from 0 to its peak and falls back; gestures of one template add up.
struct Gesture {
  std::string_view column; // "LR." stands for both sides, the right one kLag frames later
  int start;               // frame number at which it is still 0
  int length;              // frames until it is 0 again
  double peak;
};

constexpr int kLag = 4; // so that the sides differ

constexpr Gesture kGestures[] = {
    // One template after the other. Cheeks and nostrils do not reach weight 1, whose poses (28 mm of
    // puffed cheek) exceed what a face can do.
    {"Mouth.Open", 16, 12, 1},
    {"Mouth.Whistle", 30, 12, 1},
    {"Mouth.Square", 44, 12, 1},
    {"Mouth.CornersUpR", 58, 12, 1},
    {"Mouth.CornersUpL", 72, 12, 1},
    {"Mouth.CornersDownR", 86, 12, 1},
    {"Mouth.CornersDownL", 100, 12, 1},
    {"LR.Brow.Up", 114, 12, 1},
    {"LR.Brow.Down", 132, 12, 1},
    {"LR.Eye.Close", 150, 12, 1},
    {"LR.Eye.Squint", 168, 12, 1},
    {"LR.Eye.WideOpen", 186, 12, 1},
    {"LR.Cheek.Up", 204, 12, 0.7},
    {"LR.Cheek.Out", 222, 12, 0.6},
    {"LR.Nostril.Up", 240, 12, 0.4},

    // Speech: the jaw at four syllables per second, lips rounded and spread in between.
    {"Mouth.Open", 264, 8, 0.35},
    {"Mouth.Open", 271, 7, 0.5},
    {"Mouth.Open", 279, 9, 0.25},
    {"Mouth.Open", 287, 8, 0.45},
    {"Mouth.Open", 297, 7, 0.3},
    {"Mouth.Open", 304, 8, 0.55},
    {"Mouth.Open", 313, 10, 0.4},
    {"Mouth.Open", 323, 9, 0.3},
    {"Mouth.Square", 267, 8, 0.3},
    {"Mouth.Whistle", 276, 10, 0.6},
    {"Mouth.Square", 292, 10, 0.5},
    {"Mouth.Whistle", 309, 12, 0.7},
    {"Mouth.Square", 319, 9, 0.35},
    {"Mouth.CornersDownR", 284, 10, 0.3},
    {"Mouth.CornersDownL", 284, 10, 0.3},
    {"LR.Brow.Up", 268, 18, 0.5},
    {"LR.Brow.Down", 298, 14, 0.4},
    {"LR.Nostril.Up", 296, 10, 0.2},
    {"LR.Eye.WideOpen", 302, 12, 0.5},
    // The phrase ends with a smile, one corner slightly before the other.
    {"Mouth.CornersUpL", 324, 26, 0.7},
    {"Mouth.CornersUpR", 326, 26, 0.6},
    {"LR.Cheek.Up", 326, 24, 0.4},
    {"LR.Eye.Squint", 328, 20, 0.4},

    // Both eyes blink at the same time.
    {"LeftEye.Close", 4, 7, 1},
    {"RightEye.Close", 4, 7, 1},
    {"LeftEye.Close", 285, 7, 1},
    {"RightEye.Close", 285, 7, 1},
    {"LeftEye.Close", 321, 7, 1},
    {"RightEye.Close", 321, 7, 1},
};

/// Decimals in the files.
double Rounded(double value, double steps) { return std::floor(value * steps + 0.5) / steps; }

/// 0 at t = 0 and t = 1, 1 at the middle, with slope 0 at all three.
double Bump(double t) { return t <= 0 || t >= 1 ? 0 : 16 * t * t * (1 - t) * (1 - t); }

/// Similar to a sine of this period: between -1 and 1, rising from 0.
double Swing(int frame, int period) {
  const int quarter_later = frame + period / 4;
  const double t = static_cast<double>(quarter_later % period) / period;
  const double triangle = t < 0.5 ? 2 * t : 2 - 2 * t;
  return 2 * triangle * triangle * (3 - 2 * triangle) - 1;
}

VFaceTemplateState WeightsAt(const Animation& known, std::size_t frame) {
  VFaceTemplateState weights;
  for (std::size_t c = 0; c < known.layout.templates.size(); ++c)
    weights.mParts[known.layout.templates[c].part].mWeights[known.layout.templates[c].slot] =
        known.Weight(frame, c);
  return weights;
}

// --- The face. Millimetres in head space: the face looks along +z, x to its left, y up.

/// How far a marker follows a point of the face: 1 is fully. The rest follows the skull, or the
/// point of another of the marker's ties.
struct Tie {
  std::string point; // "Mouth.LeftMouth"
  double share;
};

struct Spot {
  std::string marker;
  Point rest_mm;
  std::vector<Tie> ties;
};

/// A marker position on the left side and its mirror image on the right side.
struct SpotPair {
  const char* left;
  const char* right; // "" for a position in the middle, whose ties name both sides
  Point rest_mm;     // of the left marker
  std::vector<Tie> ties;
};

// The rest positions are those of the reference face at 10 mm per unit, with the proportions that the volumes
// of VActorFace::SetupFindVolumes expect of markers: a mouth that is a tenth larger, and brows an eighth
// closer together than the points of the reference face. A full pose of the performer is then weight 1. A
// performer with a mouth that is smaller relative to the face has smaller weights; this is a property of the
// face, not of the solve. Depths are rounder than on the reference face, with lips and brows equally deep:
// the line between them defines upright for the face's axes.
constexpr double kMmPerUnit = 10;
constexpr double kMouthSize = 1.1;

const std::vector<SpotPair> kOpticalSpots = {
    {"MouthCornerL", "MouthCornerR", {18.9, 26.4, 178}, {{"Mouth.LeftMouth", 1}}},
    {"SmileL", "SmileR", {26, 31, 175}, {{"Mouth.LeftMouth", 0.6}}},
    {"LipUpperL", "LipUpperR", {9.5, 31.9, 187}, {{"Mouth.LeftUpperMouth", 1}}},
    {"LipUpperMid", "", {0, 31.9, 190}, {{"Mouth.LeftUpperMouth", 0.5}, {"Mouth.RightUpperMouth", 0.5}}},
    {"LipLowerL", "LipLowerR", {9.5, 20.9, 186}, {{"Mouth.LeftLowerMouth", 1}}},
    {"LipLowerMid", "", {0, 20.9, 188}, {{"Mouth.LeftLowerMouth", 0.5}, {"Mouth.RightLowerMouth", 0.5}}},
    {"ChinL", "ChinR", {9, 8, 182}, {{"Mouth.ChinCenter", 1}}},
    {"ChinMid", "", {0, 12.7, 187}, {{"Mouth.ChinCenter", 1}}},

    {"BrowInL", "BrowInR", {14.8, 117.3, 186}, {{"LeftBrow.InBrow", 1}}},
    {"BrowInMidL", "BrowInMidR", {21.4, 118, 185.5}, {{"LeftBrow.InBrow", 0.5}, {"LeftBrow.MidBrow", 0.5}}},
    {"BrowMidL", "BrowMidR", {28, 118, 184}, {{"LeftBrow.MidBrow", 1}}},
    {"BrowMidOutL",
     "BrowMidOutR",
     {34.6, 116.8, 182},
     {{"LeftBrow.MidBrow", 0.5}, {"LeftBrow.OutBrow", 0.5}}},
    {"BrowOutL", "BrowOutR", {41.2, 114.7, 180}, {{"LeftBrow.OutBrow", 1}}},

    {"LidUpperInL", "LidUpperInR", {25, 103.4, 184}, {{"LeftEye.UpperEye", 1}}},
    {"LidUpperOutL", "LidUpperOutR", {34, 103.4, 182}, {{"LeftEye.UpperEye", 1}}},
    {"LidLowerInL", "LidLowerInR", {25, 92.8, 183}, {{"LeftEye.LowerEye", 1}}},
    {"LidLowerOutL", "LidLowerOutR", {34, 92.8, 181}, {{"LeftEye.LowerEye", 1}}},

    {"CheekUpL", "CheekUpR", {29.6, 73.1, 180}, {{"LeftCheek.InUpperCheek", 1}}},
    {"CheekUpOutL", "CheekUpOutR", {39, 72, 172}, {{"LeftCheek.InUpperCheek", 0.8}}},
    {"CheekMidL",
     "CheekMidR",
     {27, 63, 181},
     {{"LeftCheek.InUpperCheek", 0.5}, {"LeftCheek.MidLowerCheek", 0.5}}},
    {"CheekLowL", "CheekLowR", {21.6, 53.1, 180}, {{"LeftCheek.MidLowerCheek", 1}}},
    {"CheekLowOutL", "CheekLowOutR", {37, 55, 172}, {{"LeftCheek.MidLowerCheek", 0.8}}},

    {"NoseWingL", "NoseWingR", {18, 48.5, 188}, {{"LeftNostril.Nostril", 1}}},
    {"NoseWingUpL", "NoseWingUpR", {17, 51.5, 189}, {{"LeftNostril.Nostril", 1}}},

    // Five markers on a cap.
    {"HeadFront", "", {0, 165, 150}, {}},
    {"HeadTop", "", {5, 195, 60}, {}},
    {"HeadBack", "", {-10, 150, -40}, {}},
    {"HeadL", "HeadR", {72, 145, 75}, {}},
};

// The 68 landmarks as trackers place them. The inner contour of the lips meets when the mouth is shut, and
// the jaw's contour rotates about the ears.
const std::vector<SpotPair> kLandmarkSpots = {
    {"lm16", "lm0", {71, 92, 95}, {}},
    {"lm15", "lm1", {71, 72, 98}, {{"Mouth.ChinCenter", 0.04}}},
    {"lm14", "lm2", {69, 52, 103}, {{"Mouth.ChinCenter", 0.12}}},
    {"lm13", "lm3", {65, 32, 111}, {{"Mouth.ChinCenter", 0.25}}},
    {"lm12", "lm4", {59, 14, 122}, {{"Mouth.ChinCenter", 0.45}}},
    {"lm11", "lm5", {49, 0, 138}, {{"Mouth.ChinCenter", 0.65}}},
    {"lm10", "lm6", {35, -9, 155}, {{"Mouth.ChinCenter", 0.85}}},
    {"lm9", "lm7", {18, -14, 169}, {{"Mouth.ChinCenter", 1}}},
    {"lm8", "", {0, -15, 175}, {{"Mouth.ChinCenter", 1}}},

    {"lm22", "lm21", {14.8, 117.3, 186}, {{"LeftBrow.InBrow", 1}}},
    {"lm23", "lm20", {21.4, 118.2, 185.5}, {{"LeftBrow.InBrow", 0.5}, {"LeftBrow.MidBrow", 0.5}}},
    {"lm24", "lm19", {28, 118, 184}, {{"LeftBrow.MidBrow", 1}}},
    {"lm25", "lm18", {41.2, 114.7, 180}, {{"LeftBrow.OutBrow", 1}}},
    {"lm26", "lm17", {49, 109, 173}, {{"LeftBrow.OutBrow", 0.7}}},

    {"lm27", "", {0, 96, 189}, {}},
    {"lm28", "", {0, 84, 195}, {}},
    {"lm29", "", {0, 72, 202}, {}},
    {"lm30", "", {0, 60, 208}, {}},
    {"lm33", "", {0, 46.5, 197}, {{"LeftNostril.Nostril", 0.2}, {"RightNostril.Nostril", 0.2}}},
    {"lm34", "lm32", {8, 48, 194}, {{"LeftNostril.Nostril", 0.5}}},
    {"lm35", "lm31", {17, 50, 188}, {{"LeftNostril.Nostril", 1}}},

    {"lm42", "lm39", {16.5, 97.5, 178}, {}},
    {"lm43", "lm38", {25, 103.4, 184}, {{"LeftEye.UpperEye", 1}}},
    {"lm44", "lm37", {34, 103.4, 182}, {{"LeftEye.UpperEye", 1}}},
    {"lm45", "lm36", {43, 98.5, 172}, {{"LeftEye.OutEye", 0.5}}},
    {"lm46", "lm41", {34, 92.8, 181}, {{"LeftEye.LowerEye", 1}}},
    {"lm47", "lm40", {25, 92.8, 183}, {{"LeftEye.LowerEye", 1}}},

    {"lm54", "lm48", {18.9, 26.4, 176}, {{"Mouth.LeftMouth", 1}}},
    {"lm53", "lm49", {13, 30.5, 182}, {{"Mouth.LeftMouth", 0.5}, {"Mouth.LeftUpperMouth", 0.5}}},
    {"lm52", "lm50", {5.5, 34.5, 188}, {{"Mouth.LeftUpperMouth", 0.8}, {"Mouth.RightUpperMouth", 0.2}}},
    {"lm51", "", {0, 33.5, 190}, {{"Mouth.LeftUpperMouth", 0.5}, {"Mouth.RightUpperMouth", 0.5}}},
    {"lm55", "lm59", {13, 21.5, 181}, {{"Mouth.LeftMouth", 0.5}, {"Mouth.LeftLowerMouth", 0.5}}},
    {"lm56", "lm58", {6, 18, 186}, {{"Mouth.LeftLowerMouth", 0.8}, {"Mouth.RightLowerMouth", 0.2}}},
    {"lm57", "", {0, 17, 187.5}, {{"Mouth.LeftLowerMouth", 0.5}, {"Mouth.RightLowerMouth", 0.5}}},
    {"lm64", "lm60", {16, 26.4, 178}, {{"Mouth.LeftMouth", 1}}},
    {"lm63", "lm61", {9, 26.9, 185}, {{"Mouth.LeftUpperMouth", 1}}},
    {"lm62", "", {0, 27.1, 188}, {{"Mouth.LeftUpperMouth", 0.5}, {"Mouth.RightUpperMouth", 0.5}}},
    {"lm65", "lm67", {9, 25.9, 184.5}, {{"Mouth.LeftLowerMouth", 1}}},
    {"lm66", "", {0, 25.7, 187}, {{"Mouth.LeftLowerMouth", 0.5}, {"Mouth.RightLowerMouth", 0.5}}},
};

// The landmarks of the face mesh that landmarks478 uses, the brows and the irises, where the 68 of the same
// name are or between them.
const std::vector<SpotPair> kMeshSpots = {
    {"lm10", "", {0, 162, 159}, {}},
    {"lm338", "lm109", {17, 161, 157}, {}},
    {"lm297", "lm67", {32, 158, 152}, {}},
    {"lm332", "lm103", {47, 152, 143}, {}},
    {"lm284", "lm54", {58, 143, 130}, {}},
    {"lm251", "lm21", {66, 130, 115}, {}},
    {"lm389", "lm162", {69, 115, 100}, {}},
    {"lm356", "lm127", {70, 96, 90}, {}},
    {"lm454", "lm234", {70, 80, 92}, {}},
    {"lm152", "", {0, -15, 175}, {{"Mouth.ChinCenter", 1}}},

    {"lm336", "lm107", {14.8, 118.3, 186}, {{"LeftBrow.InBrow", 1}}},
    {"lm296", "lm66", {21.4, 119.2, 185.5}, {{"LeftBrow.InBrow", 0.5}, {"LeftBrow.MidBrow", 0.5}}},
    {"lm334", "lm105", {28, 119, 184}, {{"LeftBrow.MidBrow", 1}}},
    {"lm293", "lm63", {41.2, 115.7, 180}, {{"LeftBrow.OutBrow", 1}}},
    {"lm300", "lm70", {49, 110, 173}, {{"LeftBrow.OutBrow", 0.7}}},
    {"lm285", "lm55", {14.8, 114.3, 186}, {{"LeftBrow.InBrow", 1}}},
    {"lm295", "lm65", {21.4, 115.2, 185.5}, {{"LeftBrow.InBrow", 0.5}, {"LeftBrow.MidBrow", 0.5}}},
    {"lm282", "lm52", {28, 115, 184}, {{"LeftBrow.MidBrow", 1}}},
    {"lm283", "lm53", {41.2, 111.7, 180}, {{"LeftBrow.OutBrow", 1}}},
    {"lm276", "lm46", {49, 106, 173}, {{"LeftBrow.OutBrow", 0.7}}},

    {"lm362", "lm133", {16.5, 97.5, 178}, {}},
    {"lm385", "lm158", {25, 103.4, 184}, {{"LeftEye.UpperEye", 1}}},
    {"lm386", "lm159", {29.5, 103.6, 183}, {{"LeftEye.UpperEye", 1}}},
    {"lm387", "lm160", {34, 103.4, 182}, {{"LeftEye.UpperEye", 1}}},
    {"lm263", "lm33", {43, 98.5, 172}, {{"LeftEye.OutEye", 0.5}}},
    {"lm373", "lm144", {34, 92.8, 181}, {{"LeftEye.LowerEye", 1}}},
    {"lm374", "lm145", {29.5, 92.6, 182}, {{"LeftEye.LowerEye", 1}}},
    {"lm380", "lm153", {25, 92.8, 183}, {{"LeftEye.LowerEye", 1}}},
    {"lm473", "lm468", {30, 98, 181}, {}},
    {"lm474", "lm471", {35.8, 98, 180}, {}},
    {"lm475", "lm470", {30, 103.8, 181}, {}},
    {"lm476", "lm469", {24.2, 98, 181}, {}},
    {"lm477", "lm472", {30, 92.2, 181}, {}},

    {"lm168", "", {0, 99, 187}, {}},
    {"lm6", "", {0, 90, 191}, {}},
    {"lm197", "", {0, 82, 196}, {}},
    {"lm195", "", {0, 74, 201}, {}},
    {"lm5", "", {0, 66, 206}, {}},
    {"lm4", "", {0, 60, 208}, {}},
    {"lm1", "", {0, 56, 208}, {}},
    {"lm358", "lm129", {18, 51.5, 188}, {{"LeftNostril.Nostril", 1}}},
    {"lm294", "lm64", {17, 48.5, 189}, {{"LeftNostril.Nostril", 1}}},

    {"lm346", "lm117", {39, 72, 172}, {{"LeftCheek.InUpperCheek", 0.8}}},
    {"lm347", "lm118", {29.6, 73.1, 180}, {{"LeftCheek.InUpperCheek", 1}}},
    {"lm280", "lm50", {27, 63, 181}, {{"LeftCheek.InUpperCheek", 0.5}, {"LeftCheek.MidLowerCheek", 0.5}}},
    {"lm411", "lm187", {37, 55, 172}, {{"LeftCheek.MidLowerCheek", 0.8}}},
    {"lm427", "lm207", {21.6, 53.1, 180}, {{"LeftCheek.MidLowerCheek", 1}}},
    {"lm376", "lm147", {42, 48, 168}, {{"LeftCheek.MidLowerCheek", 0.7}}},

    {"lm291", "lm61", {18.9, 26.4, 176}, {{"Mouth.LeftMouth", 1}}},
    {"lm311", "lm81", {9, 26.9, 185}, {{"Mouth.LeftUpperMouth", 1}}},
    {"lm312", "lm82", {4.5, 27, 187}, {{"Mouth.LeftUpperMouth", 1}}},
    {"lm13", "", {0, 27.1, 188}, {{"Mouth.LeftUpperMouth", 0.5}, {"Mouth.RightUpperMouth", 0.5}}},
    {"lm402", "lm178", {9, 25.9, 184.5}, {{"Mouth.LeftLowerMouth", 1}}},
    {"lm317", "lm87", {4.5, 25.8, 186}, {{"Mouth.LeftLowerMouth", 1}}},
    {"lm14", "", {0, 25.7, 187}, {{"Mouth.LeftLowerMouth", 0.5}, {"Mouth.RightLowerMouth", 0.5}}},
};

std::vector<Spot> BothSides(const std::vector<SpotPair>& pairs) {
  std::vector<Spot> spots;
  for (const auto& [left, right, rest, ties] : pairs) {
    spots.push_back({left, rest, ties});
    if (*right == '\0') continue;
    Spot mirrored{right, {-rest.x, rest.y, rest.z}, ties};
    for (Tie& tie : mirrored.ties)
      if (const std::size_t at = tie.point.find("Left"); at != std::string::npos)
        tie.point.replace(at, 4, "Right");
    spots.push_back(mirrored);
  }
  return spots;
}

/// The landmarks of the mesh in their order: those of `pairs`, and for the rest pairs of places on an
/// ellipsoid.
std::vector<Spot> MeshSpots(const std::vector<SpotPair>& pairs) {
  std::vector<Spot> spots;
  for (const std::string& marker : MeshMarkers(kMeshPoints)) {
    const std::size_t i = spots.size(), other = MirroredMeshPoint(i);
    // Spread by irrational steps, of which no two are alike. A point of the middle has no mirror image.
    const double k = static_cast<double>(std::min(i, other));
    const double across = k * 0.6180339887498949 - std::floor(k * 0.6180339887498949);
    const double along = k * 0.7548776662466927 - std::floor(k * 0.7548776662466927);
    const double x = i == other ? 0 : 5 + 60 * across, y = -10 + 165 * along;
    const double fx = x / 110, fy = (y - 72.5) / 140;
    spots.push_back({marker, {i > other ? x : -x, y, 80 + 105 * std::sqrt(1 - fx * fx - fy * fy)}, {}});
  }
  for (const Spot& spot : BothSides(pairs))
    *std::find_if(spots.begin(), spots.end(), [&](const Spot& s) { return s.marker == spot.marker; }) = spot;
  return spots;
}

/// The displacement of a point of the face from rest.
Point Displacement(const VFaceState& face, const std::string& point) {
  const std::size_t dot = point.find('.');
  const int p = GetGlobalFace()->PartIndexByName(point.substr(0, dot).c_str());
  const VFacePart& part = GetGlobalFace()->mParts[p];
  const int slot = part.PointIndexByName(point.substr(dot + 1).c_str());
  const VgeTVector &now = face.mParts[p].mPoints[slot], &rest = part.mDefaultPoints[slot];
  const double mm = p == 0 ? kMmPerUnit * kMouthSize : kMmPerUnit;
  return {(now.x - rest.x) * part.mScale.x * mm, (now.y - rest.y) * part.mScale.y * mm,
          (now.z - rest.z) * part.mScale.z * mm};
}

// --- Head and camera.

/// A rotation, then a translation.
struct Motion {
  double rows[3][3];
  Point translation;

  Point Carry(const Point& p) const {
    const auto along = [&p](const double(&row)[3]) { return row[0] * p.x + row[1] * p.y + row[2] * p.z; };
    return {along(rows[0]) + translation.x, along(rows[1]) + translation.y, along(rows[2]) + translation.z};
  }
};

/// The head nods (x), turns (y) and tilts (z) about the top of the neck, by up to 12, 19 and 7 degrees; the
/// body sways.
Motion HeadMotionAt(int frame) {
  // Tangents of the half angles make a quaternion that only needs to be normalised.
  double w = 1, x = 0.105 * Swing(frame, 97), y = 0.167 * Swing(frame, 150), z = 0.06 * Swing(frame, 211);
  const double length = std::sqrt(w * w + x * x + y * y + z * z);
  w /= length, x /= length, y /= length, z /= length;
  return {{{1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)},
           {2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)},
           {2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)}},
          {40 * Swing(frame, 180), 15 * Swing(frame, 120), 30 * Swing(frame, 240)}};
}

constexpr Motion kHeadAtRest = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}};

/// The camera is at the origin, the face looks at it from 60 cm.
constexpr Motion kBeforeTheCamera = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {5, -75, -790}};

/// In the room z is up, and the performer looks along (3, -4, 0).
constexpr Motion kInTheRoom = {{{0.8, 0, 0.6}, {0.6, 0, -0.8}, {0, 1, 0}}, {310, -140, 1545}};

/// HeadMotionAt in each frame: the rotation row by row, and the translation in millimetres.
void WriteKnownHead(const Animation& known, std::ostream& out) {
  out << "frame,time,R00,R01,R02,R10,R11,R12,R20,R21,R22,tx,ty,tz\n";
  constexpr double kSteps = 1e6; // 0.0001 degrees
  for (std::size_t f = 0; f < known.frames.size(); ++f) {
    const auto& [rows, translation] = HeadMotionAt(static_cast<int>(f));
    out << fmt::format("{},{}", known.frames[f], known.times[f]);
    for (const auto& row : rows)
      for (const double number : row) out << fmt::format(",{}", Rounded(number, kSteps));
    for (const double mm : {translation.x, translation.y, translation.z})
      out << fmt::format(",{}", Rounded(mm, kSteps));
    out << '\n';
  }
}

/// Numbers that are the same on every machine: a linear congruential generator of 64 bits.
class Random {
public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  /// Nearly normal, with mean 0 and standard deviation 1: the sum of four uniform numbers.
  double Normal() {
    constexpr double kRootOfThree = 1.7320508075688772; // the sum's variance is 4 / 12
    return (Uniform() + Uniform() + Uniform() + Uniform() - 2) * kRootOfThree;
  }

private:
  double Uniform() {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<double>(state_ >> 11) * 0x1p-53;
  }

  std::uint64_t state_;
};

Take Film(const std::vector<Spot>& spots, const Motion& to_take, double steps_per_mm, Head head,
          std::uint64_t seed) {
  const Animation known = KnownWeights();
  Take take;
  for (const Spot& spot : spots) take.markers.push_back(spot.marker);
  take.rate = known.layout.rate;
  Random random(seed);
  for (std::size_t f = 0; f < known.frames.size(); ++f) {
    take.AddFrame(known.frames[f], known.times[f]);
    const VFaceTemplateState weights = WeightsAt(known, f);
    VFaceState face;
    GetGlobalFace()->Template2FaceSolve(&face, &weights);
    const Motion head_now = head == Head::Moves ? HeadMotionAt(static_cast<int>(f)) : kHeadAtRest;
    for (std::size_t m = 0; m < spots.size(); ++m) {
      Point p = spots[m].rest_mm;
      for (const Tie& tie : spots[m].ties) {
        const Point d = Displacement(face, tie.point);
        p.x += tie.share * d.x, p.y += tie.share * d.y, p.z += tie.share * d.z;
      }
      for (double* const axis : {&p.x, &p.y, &p.z}) *axis += kNoiseMm * random.Normal();
      p = to_take.Carry(head_now.Carry(p));
      for (double* const axis : {&p.x, &p.y, &p.z}) *axis = Rounded(*axis, steps_per_mm);
      take.Set(f, m, p);
    }
  }
  return take;
}

void Hide(Take& take, const std::string& marker, std::size_t first_frame, std::size_t last_frame) {
  const std::size_t m = take.FindMarker(marker).value();
  for (std::size_t number = first_frame; number <= last_frame; ++number) take.Clear(number - 1, m);
}

std::string Text(const std::function<void(std::ostream&)>& write) {
  std::ostringstream out;
  write(out);
  return out.str();
}

} // namespace

Animation KnownWeights() {
  Animation known;
  known.layout.rate = {kRateHz, 1};
  const auto add = [&known](const std::string& column, const Gesture& gesture, int start) {
    for (std::size_t c = 0; c < known.layout.templates.size(); ++c) {
      if (known.layout.templates[c].name != column) continue;
      for (int f = 0; f < kFrames; ++f)
        known.weights[static_cast<std::size_t>(f) * known.layout.templates.size() + c] +=
            gesture.peak * Bump(static_cast<double>(f + 1 - start) / gesture.length);
      return;
    }
    throw std::logic_error("no template " + column);
  };

  for (int f = 0; f < kFrames; ++f) {
    known.frames.push_back(f + 1);
    known.times.push_back(Rounded(static_cast<double>(f) / kRateHz, 1000));
  }
  known.heads.resize(known.frames.size());
  known.weights.resize(known.frames.size() * known.layout.templates.size());
  for (const Gesture& gesture : kGestures) {
    if (gesture.column.starts_with("LR.")) {
      const std::string column(gesture.column.substr(3));
      add("Left" + column, gesture, gesture.start);
      add("Right" + column, gesture, gesture.start + kLag);
    } else {
      add(std::string(gesture.column), gesture, gesture.start);
    }
  }
  for (double& weight : known.weights) weight = Rounded(weight, 10000);
  return known;
}

Take FilmLandmarks(Head head) {
  Take take = Film(BothSides(kLandmarkSpots), kBeforeTheCamera, 10, head, 68);
  take.name = "landmarks";
  for (const auto& [first, last] : {std::pair<std::size_t, std::size_t>{257, 259}, {315, 315}})
    for (const std::string& marker : take.markers) Hide(take, marker, first, last);
  return take;
}

Take FilmMarkers(Head head) {
  Take take = Film(BothSides(kOpticalSpots), kInTheRoom, 100, head, 45);
  take.name = "markers";
  Hide(take, "CheekLowOutL", 40, 75);
  Hide(take, "BrowMidOutR", 95, 112);
  Hide(take, "HeadBack", 170, 195);
  Hide(take, "LipUpperMid", 290, 296);
  Hide(take, "LidLowerOutL", 300, 303);
  return take;
}

Take FilmMesh(Head head) {
  constexpr Motion kInTheMiddle = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, -75, -90}}; // of the image
  Take take = Film(MeshSpots(kMeshSpots), kInTheMiddle, 100, head, 478);
  take.name = "mesh";
  return take;
}

Performer MarkerPerformer() {
  return ReadPerformer(R"({
    "format": "mien performer 1",
    "name": "synthetic",
    "head": ["HeadFront", "HeadTop", "HeadBack", "HeadL", "HeadR"],
    "parts": {
      "Mouth": {
        "LeftMouthHolder": ["MouthCornerL", "SmileL"],
        "UpperMouthHolder": ["LipUpperL", "LipUpperMid", "LipUpperR"],
        "LowerMouthHolder": ["LipLowerL", "LipLowerMid", "LipLowerR"],
        "RightMouthHolder": ["MouthCornerR", "SmileR"],
        "ChinHolder": ["ChinL", "ChinMid", "ChinR"]
      },
      "LeftBrow": { "BrowHolder": ["BrowInMidL", "BrowMidL", "BrowMidOutL", "BrowOutL"], "InBrowHolder": ["BrowInL"] },
      "RightBrow": { "BrowHolder": ["BrowInMidR", "BrowMidR", "BrowMidOutR", "BrowOutR"], "InBrowHolder": ["BrowInR"] },
      "LeftEye": { "UpperEyeHolder": ["LidUpperInL", "LidUpperOutL"], "LowerEyeHolder": ["LidLowerInL", "LidLowerOutL"] },
      "RightEye": { "UpperEyeHolder": ["LidUpperInR", "LidUpperOutR"], "LowerEyeHolder": ["LidLowerInR", "LidLowerOutR"] },
      "LeftCheek": { "CheekHolder": ["CheekUpL", "CheekUpOutL", "CheekMidL", "CheekLowL", "CheekLowOutL"] },
      "RightCheek": { "CheekHolder": ["CheekUpR", "CheekUpOutR", "CheekMidR", "CheekLowR", "CheekLowOutR"] },
      "LeftNostril": { "NostrilHolder": ["NoseWingL", "NoseWingUpL"] },
      "RightNostril": { "NostrilHolder": ["NoseWingR", "NoseWingUpR"] }
    }
  })",
                       "markers.performer.json");
}

std::map<std::string, std::string> SampleFiles() {
  const Character arkit52 = LoadCharacter("arkit52");
  const Animation known = KnownWeights();
  std::map<std::string, std::string> files = {
      {"head.glb", Text([&](std::ostream& out) { WriteGlb(MakeFaceGlb(&arkit52).glb, out); })},
      {"known_head.csv", Text([&](std::ostream& out) { WriteKnownHead(known, out); })},
      {"known_weights.csv", Text([&](std::ostream& out) {
         WeightCsvWriter writer(known.layout, WeightKind::Templates, out);
         Write(known, writer);
       })},
      {"landmarks.csv", Text([](std::ostream& out) { WriteLandmarkCsv(FilmLandmarks(), out); })},
      {"markers.csv", Text([](std::ostream& out) { WriteMarkerCsv(FilmMarkers(), out); })},
      {"markers.performer.json", Text([](std::ostream& out) { WritePerformer(MarkerPerformer(), out); })},
  };
  files.merge(MeshFiles(FilmMesh(), known));
  files.merge(AvatarFiles());
  return files;
}

} // namespace mien::samples
