#include "host/performer/guided_poses.h"

#include <algorithm>

namespace mien {

// As long as the list.
std::span<const GuidedPose> GuidedPoses() {
  static const std::vector<GuidedPose> poses = {
      {kRestPose, "relax the face: eyes open, lips together, teeth apart; look ahead", 3, {}, {}},
      {"eyes-closed",
       "close both eyes without squeezing",
       2,
       {"eyeBlinkLeft", "eyeBlinkRight"},
       {"LeftEye.Close", "RightEye.Close"}},
      {"eyes-wide",
       "open the eyes as wide as you can; leave the brows",
       2,
       {"eyeWideLeft", "eyeWideRight"},
       {"LeftEye.WideOpen", "RightEye.WideOpen"}},
      {"squint",
       "narrow the eyes with the lower lids, as in bright sun; do not close them",
       2,
       {"eyeSquintLeft", "eyeSquintRight"},
       {"LeftEye.Squint", "RightEye.Squint"}},
      {"cheeks-up",
       "lift the cheeks towards the eyes, as in laughing",
       2,
       {"cheekSquintLeft", "cheekSquintRight"},
       {"LeftCheek.Up", "RightCheek.Up"}},
      {"brows-up",
       "raise the brows as high as you can",
       2,
       {"browInnerUp", "browOuterUpLeft", "browOuterUpRight"},
       {"LeftBrow.Up", "RightBrow.Up"}},
      {"brows-down",
       "lower the brows and draw them together, as in anger",
       2,
       {"browDownLeft", "browDownRight"},
       {"LeftBrow.Down", "RightBrow.Down"}},
      {"sneer",
       "wrinkle the nose and lift the nostrils",
       2,
       {"noseSneerLeft", "noseSneerRight"},
       {"LeftNostril.Up", "RightNostril.Up"}},
      {"cheeks-out",
       "close the lips and blow up both cheeks",
       2,
       {"cheekPuff"},
       {"LeftCheek.Out", "RightCheek.Out"}},
      {"jaw-open",
       "open the mouth as wide as is comfortable; leave the lips relaxed",
       2,
       {"jawOpen"},
       {"Mouth.Open"}},
      {"lips-forward", "push closed lips forward, as for a kiss", 2, {"mouthPucker"}, {"Mouth.Whistle"}},
      {"lips-round", "push the lips forward and open, as in \"oh\"", 2, {"mouthFunnel"}, {}},
      {"teeth",
       "keep the teeth together and bare both rows, with the lips square",
       2,
       {"mouthUpperUpLeft", "mouthUpperUpRight", "mouthLowerDownLeft", "mouthLowerDownRight"},
       {"Mouth.Square"}},
      {"smile",
       "smile as broadly as you can, lips together",
       2,
       {"mouthSmileLeft", "mouthSmileRight"},
       {"Mouth.CornersUpR", "Mouth.CornersUpL"}},
      {"frown",
       "pull both corners of the mouth down",
       2,
       {"mouthFrownLeft", "mouthFrownRight"},
       {"Mouth.CornersDownR", "Mouth.CornersDownL"}},
      {"mouth-left", "push the closed mouth to your left", 2, {"mouthLeft"}, {}},
      {"mouth-right", "push the closed mouth to your right", 2, {"mouthRight"}, {}},
  };
  return poses;
}

const GuidedPose* FindGuidedPose(std::string_view name) {
  const std::span<const GuidedPose> poses = GuidedPoses();
  const auto found =
      std::find_if(poses.begin(), poses.end(), [&](const GuidedPose& p) { return p.name == name; });
  return found == poses.end() ? nullptr : &*found;
}

} // namespace mien
