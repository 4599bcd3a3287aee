#include "host/animation/eye_nodes.h"

#include "host/gltf/json_at.h"
#include "host/gltf/node_tree.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

namespace mien {

namespace {

// Of the letters of a name in lower case: what rigs put before and behind it.
constexpr std::string_view kPrefixes[] = {"mixamorig", "def",  "org",  "ccbase",
                                          "jadj",      "jbip", "face", "head"};
constexpr std::string_view kSuffixes[] = {"joint", "jnt", "bone"};
constexpr std::string_view kNames[][2] = {
    {"lefteye", "righteye"},  {"eyeleft", "eyeright"},         {"leye", "reye"},
    {"eyel", "eyer"},         {"lefteyeball", "righteyeball"}, {"eyeballleft", "eyeballright"},
    {"leyeball", "reyeball"}, {"eyeballl", "eyeballr"},        {"lfaceeye", "rfaceeye"},
};

/// The letters behind the last colon, in lower case.
std::string LettersOf(std::string_view name) {
  std::string letters;
  for (const char c : name.substr(name.rfind(':') + 1)) { // npos + 1 is 0
    if (c >= 'A' && c <= 'Z') letters.push_back(static_cast<char>(c - 'A' + 'a'));
    if (c >= 'a' && c <= 'z') letters.push_back(c);
  }
  return letters;
}

std::set<std::size_t> JointsOf(const Glb& head) {
  std::set<std::size_t> joints;
  for (const JsonAt& skin : JsonAt(head).ElementsOf("skins"))
    for (const JsonAt& joint : skin.ElementsOf("joints"))
      if (joint.Value().is_number_unsigned()) joints.insert(joint.Value().get<std::size_t>());
  return joints;
}

} // namespace

std::optional<std::size_t> EyeMeant(std::string_view name) {
  const std::string letters = LettersOf(name);
  std::string_view text = letters;
  for (const std::string_view prefix : kPrefixes)
    if (text.starts_with(prefix)) {
      text.remove_prefix(prefix.size());
      break;
    }
  for (const std::string_view suffix : kSuffixes)
    if (text.ends_with(suffix)) {
      text.remove_suffix(suffix.size());
      break;
    }
  for (const auto& names : kNames)
    for (std::size_t eye = 0; eye < 2; ++eye)
      if (text == names[eye]) return eye;
  return std::nullopt;
}

std::optional<std::array<std::size_t, 2>> FindEyeNodes(const Glb& head) {
  std::array<std::vector<std::size_t>, 2> found;
  for (const auto& [name, nodes] : NodesByName(head))
    if (const auto eye = EyeMeant(name)) found[*eye].insert(found[*eye].end(), nodes.begin(), nodes.end());
  std::array<std::size_t, 2> eyes{};
  const std::set<std::size_t> joints = JointsOf(head);
  for (std::size_t eye = 0; eye < 2; ++eye) {
    if (found[eye].size() > 1)
      std::erase_if(found[eye], [&](std::size_t node) { return !joints.contains(node); });
    if (found[eye].size() != 1) return std::nullopt;
    eyes[eye] = found[eye][0];
  }
  return eyes;
}

} // namespace mien
