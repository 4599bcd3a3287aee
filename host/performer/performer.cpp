#include "host/performer/performer.h"

#include <set>
#include <string_view>
#include <utility>

namespace mien {

namespace {

/// Names, each once, in the order in which they are added. What is added must outlive this.
class NamesOnce {
public:
  void Add(const std::vector<std::string>& names) {
    for (const std::string& name : names)
      if (known_.insert(name).second) names_.push_back(name);
  }
  std::vector<std::string> All() && { return std::move(names_); }

private:
  std::set<std::string_view> known_; // a file may have thousands
  std::vector<std::string> names_;
};

} // namespace

std::vector<std::string> Performer::FaceMarkers() const {
  NamesOnce names;
  for (const auto& part : holders)
    for (const auto& holder : part) names.Add(holder);
  return std::move(names).All();
}

std::vector<std::string> Performer::Markers() const {
  NamesOnce names;
  names.Add(head);
  names.Add(rigid);
  for (const auto& part : anchors) names.Add(part);
  for (const auto& iris : irises) names.Add(iris);
  for (const auto& part : holders)
    for (const auto& holder : part) names.Add(holder);
  return std::move(names).All();
}

} // namespace mien
