#include "host/c_interface/layout_names.h"

namespace mien {

LayoutNames::LayoutNames(const AnimationLayout& layout) {
  for (const TemplateColumn& column : layout.templates) lists_[MIEN_TEMPLATE_NAMES].push_back(column.name);
  lists_[MIEN_SHAPE_NAMES] = layout.shapes;
  for (const ClusterColumn& cluster : layout.clusters) {
    lists_[MIEN_CLUSTER_NAMES].push_back(cluster.name);
    lists_[MIEN_CLUSTER_PART_NAMES].push_back(cluster.part);
  }
  // "Mouth" of "Mouth.Open"
  for (const TemplateColumn& column : TemplateColumns())
    if (static_cast<std::size_t>(column.part) == lists_[MIEN_FACE_PART_NAMES].size())
      lists_[MIEN_FACE_PART_NAMES].push_back(column.name.substr(0, column.name.find('.')));
}

const char* LayoutNames::At(mien_names which, std::size_t index) const {
  const std::vector<std::string>& names = Find(which);
  return index < names.size() ? names[index].c_str() : nullptr;
}

const std::vector<std::string>& LayoutNames::Find(mien_names which) const {
  const auto list = static_cast<std::size_t>(which);
  return list < lists_.size() ? lists_[list] : none_;
}

} // namespace mien
