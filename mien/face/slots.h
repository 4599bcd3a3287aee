#pragma once

/// @file
/// The indices by which the solves address the default face. Not installed.

namespace mien::detail {

/// The face's parts. A right part follows its left one.
enum Part { Mouth, LeftBrow, RightBrow, LeftEye, RightEye, LeftCheek, RightCheek, LeftNostril, RightNostril };

// For each kind of part: its point slots, its holders (the actor's marker groups), and its templates.

namespace mouth {
enum Point {
  LeftMouth,
  LeftUpperMouth,
  RightUpperMouth,
  RightMouth,
  RightLowerMouth,
  LeftLowerMouth,
  ChinCenter
};
enum Group { LeftCornerGroup, UpperLipGroup, LowerLipGroup, RightCornerGroup, ChinGroup };
enum Template { Open, Whistle, CornersUpR, CornersUpL, CornersDownR, CornersDownL, Square };
} // namespace mouth

namespace brow {
enum Point { InBrow, MidBrow, OutBrow };
enum Group { BrowGroup, InBrowGroup };
enum Template { Up, Down };
} // namespace brow

namespace eye {
enum Point { InEye, UpperEye, OutEye, LowerEye };
enum Group { UpperLidGroup, LowerLidGroup };
enum Template { Close, Squint, WideOpen };
} // namespace eye

namespace cheek {
enum Point { InUpperCheek, MidLowerCheek };
enum Group { CheekGroup };
enum Template { Up, Out };
} // namespace cheek

namespace nostril {
enum Point { Nostril };
enum Group { NostrilGroup };
enum Template { Up };
} // namespace nostril

} // namespace mien::detail
