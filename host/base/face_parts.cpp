#include "host/base/face_parts.h"

#include "mien/face/face.h"

namespace mien {

std::vector<TemplateColumn> TemplateColumns() {
  std::vector<TemplateColumn> columns;
  for (int p = 0; p < 9; ++p) {
    const VFacePart& part = GetGlobalFace()->mParts[p];
    for (int j = 0; j < part.mTemplates.GetCount(); ++j)
      columns.push_back({p, j, std::string(part.mName) + "." + part.mTemplates[j]->GetName()});
  }
  return columns;
}

} // namespace mien
