#include "mien/base/affine.h"
#include "mien/base/bounded_text.h"
#include "mien/face/face.h"
#include "mien/face/pose.h"

#include <initializer_list>
#include <memory>
#include <new>
#include <span>

using namespace mien;
using namespace mien::detail;

// Positions are listed in units of the part's size on the reference face and then multiplied by the part's
// template space scale S; `mScale` undoes S and brings them to the reference size R.

namespace {

struct Position {
  double x, y, z;
};

using Positions = std::initializer_list<Position>; // used only for parameters
using Names = std::span<const char* const>;

// clang-format off
constexpr const char* kMouthPoints[] = {"LeftMouth",       "LeftUpperMouth", "RightUpperMouth", "RightMouth",
                                        "RightLowerMouth", "LeftLowerMouth", "ChinCenter"};
constexpr const char* kMouthHolders[] = {"LeftMouthHolder", "UpperMouthHolder", "LowerMouthHolder",
                                         "RightMouthHolder", "ChinHolder"};
constexpr const char* kBrowPoints[]     = {"InBrow", "MidBrow", "OutBrow"};
constexpr const char* kBrowHolders[]    = {"BrowHolder", "InBrowHolder"};
constexpr const char* kEyePoints[]      = {"InEye", "UpperEye", "OutEye", "LowerEye"};
constexpr const char* kEyeHolders[]     = {"UpperEyeHolder", "LowerEyeHolder"};
constexpr const char* kCheekPoints[]    = {"InUpperCheek", "MidLowerCheek"};
constexpr const char* kCheekHolders[]   = {"CheekHolder"};
constexpr const char* kNostrilPoints[]  = {"Nostril"};
constexpr const char* kNostrilHolders[] = {"NostrilHolder"};
// clang-format on

/// The data that a part shares with its counterpart on the other side.
struct Layout {
  VgeSVector s;  // template space scale
  Position size; // R
  Names point_names, holder_names;
};

void SetPose(VgeTVector (&points)[7], const VFacePartState& pose) {
  for (int i = 0; i < 7; ++i) SetPoint(points[i], pose.mPoints[i]);
}

void SetScaledPose(VgeTVector (&points)[7], Positions positions, const VgeSVector& s) {
  VFacePartState pose;
  int slot = 0;
  for (const auto& [x, y, z] : positions) SetPoint(pose.mPoints[slot++], {x, y, z});
  pose.Scale(s);
  SetPose(points, pose);
}

int CopyNames(char (*names)[256], Names texts) {
  int count = 0;
  for (const char* text : texts) mien::CopyBounded(names[count++], text);
  return count;
}

void Fill(VFacePart& part, const char* name, const char* title, const Position& center, const Layout& layout,
          Positions rest) {
  mien::CopyBounded(part.mName, name);
  mien::CopyBounded(part.mTitle, title);
  SetPoint(part.mCenter, {center.x, center.y, center.z});
  part.mScale =
      VgeSVector(layout.size.x / layout.s.x, layout.size.y / layout.s.y, layout.size.z / layout.s.z);
  part.mPointCount = CopyNames(part.mPointNames, layout.point_names);
  part.mHolderCount = CopyNames(part.mHolderNames, layout.holder_names);
  SetScaledPose(part.mDefaultPoints, rest, layout.s);
  // An array that cannot grow loses its contents, so it grows once, while it is empty.
  constexpr int kMostTemplates = 25;
  if (!part.mTemplates.SetCount(kMostTemplates)) throw std::bad_alloc();
  part.mTemplates.Empty();
}

VFacePartTemplate& AddTemplate(VFacePart& part, const char* name, const char* title) {
  auto added = std::make_unique<VFacePartTemplate>(name, title);
  part.mTemplates.Add(added.get()); // Fill has reserved the room
  return *added.release();
}

VFacePartTemplate& AddTemplate(VFacePart& part, const char* name, const char* title, const VgeSVector& s,
                               Positions positions) {
  VFacePartTemplate& added = AddTemplate(part, name, title);
  SetScaledPose(added.mPoints, positions, s);
  return added;
}

/// The mirror image of the template added last: left and right mouth points are exchanged, the chin is
/// unchanged.
void AddMouthMirror(VFacePart& mouth, const char* name, const char* title) {
  constexpr int kMirrorSlot[7] = {3, 2, 1, 0, 5, 4, 6};
  const VFacePartTemplate& source = *mouth.mTemplates.GetLast();
  VFacePartState pose;
  for (int i = 0; i < 7; ++i) pose.mPoints[i] = source.mPoints[kMirrorSlot[i]];
  pose.Scale(VgeSVector(-1, 1, 1));
  SetPose(AddTemplate(mouth, name, title).mPoints, pose);
}

void DefineMouth(VFacePart& mouth) {
  const Layout layout{
      .s = {2, 10, 1}, .size = {3.438, 5.0, 1.0}, .point_names = kMouthPoints, .holder_names = kMouthHolders};
  const VgeSVector& s = layout.s;
  Fill(mouth, "Mouth", "Mouth (Close)", {0, 2.642, 19.0}, layout,
       {{0.5, 0, 0},
        {0.25, 0.1, 0},
        {-0.25, 0.1, 0},
        {-0.5, 0, 0},
        {-0.25, -0.1, 0},
        {0.25, -0.1, 0},
        {0, -0.25, 0}});
  AddTemplate(mouth, "Open", "Open", s,
              {{0.52, -0.27, -0.17},
               {0.25, 0.1, 0.02},
               {-0.25, 0.1, 0.02},
               {-0.52, -0.27, -0.17},
               {-0.3, -0.8, -1.45},
               {0.3, -0.8, -1.45},
               {0, -0.85, -1.5}});

  VFacePartTemplate& whistle = AddTemplate(mouth, "Whistle", "Whistle", s,
                                           {{0.25, 0.03, 0.3},
                                            {0.13, 0.06, 0.7},
                                            {-0.13, 0.06, 0.7},
                                            {-0.25, 0.03, 0.3},
                                            {-0.15, -0.12, 0.7},
                                            {0.15, -0.12, 0.7},
                                            {0, -0.25, 0}});
  // The listed pose is strong: the template is at four fifths of it.
  const VFacePartState rest = RestPose(mouth);
  VFacePartState softened = PoseOf(whistle.mPoints);
  softened.Sub(&rest);
  softened.Scale(0.8);
  softened.Add(&rest);
  SetPose(whistle.mPoints, softened);

  AddTemplate(mouth, "CornersUpR", "Corners UpR", s,
              {{0.5, 0, 0},
               {0.25, 0.1, 0},
               {-0.27, 0.12, -0.02},
               {-0.55, 0.15, -0.1},
               {-0.27, -0.08, -0.02},
               {0.25, -0.1, 0},
               {0, -0.25, 0}});
  AddMouthMirror(mouth, "CornersUpL", "Corners UpL");
  AddTemplate(mouth, "CornersDownR", "Corners DownR", s,
              {{0.5, 0, 0},
               {0.25, 0.1, 0},
               {-0.21, 0.07, 0.04},
               {-0.5, -0.17, -0.05},
               {-0.21, -0.05, 0.05},
               {0.25, -0.1, 0},
               {0, -0.25, 0}});
  AddMouthMirror(mouth, "CornersDownL", "Corners DownL");
  AddTemplate(mouth, "Square", "Square", s,
              {{0.45, 0.03, 0.1},
               {0.3, 0.24, 0.3},
               {-0.3, 0.24, 0.3},
               {-0.45, 0.03, 0.1},
               {-0.3, -0.28, 0.3},
               {0.3, -0.28, 0.3},
               {0, -0.25, 0}});
}

void DefineBrows(VFacePart& left, VFacePart& right) {
  const Layout layout{.s = {2, 6, 1},
                      .size = {2.642, 1.318, 0.761},
                      .point_names = kBrowPoints,
                      .holder_names = kBrowHolders};
  const VgeSVector& s = layout.s;
  Fill(left, "LeftBrow", "Left Brow (Mid)", {3.202, 11.601, 18.353}, layout,
       {{-0.5, 0.1, 0}, {0, 0.15, 0}, {0.5, -0.1, 0}});
  AddTemplate(left, "Up", "Up", s, {{-0.5, 0.25, 0}, {0, 0.7, 0}, {0.5, 0.2, 0}});
  AddTemplate(left, "Down", "Down", s, {{-0.6, -0.4, 0}, {-0.1, -0.2, 0}, {0.5, 0, 0}});

  Fill(right, "RightBrow", "Right Brow (Mid)", {-3.202, 11.601, 18.353}, layout,
       {{0.5, 0.1, 0}, {0, 0.15, 0}, {-0.5, -0.1, 0}});
  AddTemplate(right, "Up", "Up", s, {{0.5, 0.25, 0}, {0, 0.7, 0}, {-0.5, 0.2, 0}});
  AddTemplate(right, "Down", "Down", s, {{0.6, -0.4, 0}, {0.1, -0.2, 0}, {-0.5, 0, 0}});
}

void DefineEyes(VFacePart& left, VFacePart& right) {
  const Layout layout{
      .s = {2, 2, 1}, .size = {1.408, 1.408, 0.704}, .point_names = kEyePoints, .holder_names = kEyeHolders};
  const VgeSVector& s = layout.s;
  Fill(left, "LeftEye", "Left Eye (Open)", {2.961, 9.808, 18.408}, layout,
       {{-0.5, 0, 0}, {0, 0.5, 0}, {0.5, 0, 0}, {0, -0.5, 0}});
  // Only the left eye has the negative zeros.
  AddTemplate(left, "Close", "Close", s, {{-0.5, -0.0, 0}, {0, -0.25, 0}, {0.5, -0.0, 0}, {0, -0.5, 0}});
  AddTemplate(left, "Squint", "Squint", s, {{-0.5, 0, 0}, {0, 0.5, 0}, {0.4, 0.2, 0}, {0, -0.2, 0}});
  AddTemplate(left, "WideOpen", "Wide Open", s, {{-0.4, 0, 0}, {0, 0.7, 0}, {0.4, 0, 0}, {0, -0.5, 0}});

  Fill(right, "RightEye", "Right Eye (Open)", {-2.961, 9.808, 18.408}, layout,
       {{0.5, 0, 0}, {0, 0.5, 0}, {-0.5, 0, 0}, {0, -0.5, 0}});
  AddTemplate(right, "Close", "Close", s, {{0.5, 0, 0}, {0, -0.25, 0}, {-0.5, 0, 0}, {0, -0.5, 0}});
  AddTemplate(right, "Squint", "Squint", s, {{0.5, 0, 0}, {0, 0.5, 0}, {-0.4, 0.2, 0}, {0, -0.2, 0}});
  AddTemplate(right, "WideOpen", "Wide Open", s, {{0.4, 0, 0}, {0, 0.7, 0}, {-0.4, 0, 0}, {0, -0.5, 0}});
}

void DefineCheeks(VFacePart& left, VFacePart& right) {
  const Layout layout{
      .s = {1, 3, 1}, .size = {2.0, 5.0, 2.0}, .point_names = kCheekPoints, .holder_names = kCheekHolders};
  const VgeSVector& s = layout.s;
  Fill(left, "LeftCheek", "Left Cheek ( Relax )", {2.961, 6.308, 18.408}, layout,
       {{0, 0.2, 0}, {-0.4, -0.2, 0}});
  AddTemplate(left, "Up", "Up", s, {{0, 0.5, 0.2}, {-0.4, 0.2, 0.2}});
  AddTemplate(left, "Out", "Out", s, {{0, 0.2, 0.4}, {-0.4, -0.2, 1.4}});

  Fill(right, "RightCheek", "Right Cheek ( Relax )", {-2.961, 6.308, 18.408}, layout,
       {{0, 0.2, 0}, {0.4, -0.2, 0}});
  // Not the mirror image of the left one: the second point is moved in to x = 0. This is part of the
  // definition.
  AddTemplate(right, "Up", "Up", s, {{0, 0.5, 0.2}, {0, 0.2, 0.2}});
  AddTemplate(right, "Out", "Out", s, {{0, 0.2, 0.4}, {0.4, -0.2, 1.4}});
}

void DefineNostrils(VFacePart& left, VFacePart& right) {
  const Layout layout{.s = {2, 2, 2},
                      .size = {1.408, 1.408, 0.704},
                      .point_names = kNostrilPoints,
                      .holder_names = kNostrilHolders};
  Fill(left, "LeftNostril", "Left Nostril ( Relax )", {2.0, 5.0, 18.408}, layout, {{0, 0, 0}});
  AddTemplate(left, "Up", "Up", layout.s, {{0, 0.5, 0}});

  Fill(right, "RightNostril", "Right Nostril ( Relax )", {-2.0, 5.0, 18.408}, layout, {{0, 0, 0}});
  AddTemplate(right, "Up", "Up", layout.s, {{0, 0.5, 0}});
}

} // namespace

VFace::VFace() {
  DefineMouth(mParts[0]);
  DefineBrows(mParts[1], mParts[2]);
  DefineEyes(mParts[3], mParts[4]);
  DefineCheeks(mParts[5], mParts[6]);
  DefineNostrils(mParts[7], mParts[8]);
}
