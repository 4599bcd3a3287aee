#include "host/performer/performer.h"

#include <algorithm>

namespace mien {

namespace {

void AddOnce(std::vector<std::string>& names, const std::vector<std::string>& more) {
  for (const std::string& name : more)
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

} // namespace

std::vector<std::string> Performer::FaceMarkers() const {
  std::vector<std::string> names;
  for (const auto& part : holders)
    for (const auto& holder : part) AddOnce(names, holder);
  return names;
}

std::vector<std::string> Performer::Markers() const {
  std::vector<std::string> names;
  AddOnce(names, head);
  AddOnce(names, rigid);
  for (const auto& part : anchors) AddOnce(names, part);
  AddOnce(names, FaceMarkers());
  return names;
}

} // namespace mien
