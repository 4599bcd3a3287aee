#pragma once

#include <string>
#include <vector>

namespace mien {

/// The nine parts of the default face, by their indices in it.
enum FacePart {
  kMouth,
  kLeftBrow,
  kRightBrow,
  kLeftEye,
  kRightEye,
  kLeftCheek,
  kRightCheek,
  kLeftNostril,
  kRightNostril
};

/// Holders of a part, by their indices in it; cheeks and nostrils have one.
enum MouthHolder { kLeftMouthHolder, kUpperMouthHolder, kLowerMouthHolder, kRightMouthHolder, kChinHolder };
enum EyeHolder { kUpperEyeHolder, kLowerEyeHolder };

/// One template of one part, and its name: "Mouth.Open".
struct TemplateColumn {
  int part;
  int slot;
  std::string name;
};

/// The templates of the default face, part by part in their fixed order.
std::vector<TemplateColumn> TemplateColumns();

} // namespace mien
