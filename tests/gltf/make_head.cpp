// make_head OUT.glb: writes a head with the complications of real ones. The built-in face with the 52 shapes
// is rotated and placed by parents, one of them with a matrix; lashes share its shapes under names with
// another spelling; bones, one of them with a matrix, are for clusters.

#include "host/character/character_file.h"
#include "host/face/face_glb.h"
#include "host/gltf/glb.h"

#include <fstream>
#include <string>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  using Json = nlohmann::ordered_json;

  const mien::Character character = mien::LoadCharacter("arkit52");
  mien::Glb head = mien::MakeFaceGlb(&character).glb;

  Json& nodes = head.json["nodes"]; // 0 "mien" > 1 "face" > 2, 3 the eyes; 4 "bust"
  nodes[0]["children"] = {4, 5};
  nodes[0]["rotation"] = {0, 0.6, 0, 0.8};
  nodes[0]["scale"] = {2, 2, 2};
  nodes.push_back(
      {{"name", "neckBone"},
       {"children", {1, 6, 7, 8}},
       {"matrix", {1, 0, 0, 0, 0, 0.8, 0.6, 0, 0, -0.6, 0.8, 0, 0.1, 1.5, 0, 1}}}); // rotated about x
  nodes[1]["rotation"] = {0.5, 0.5, -0.5, 0.5};
  nodes.push_back({{"name", "lashes"}, {"mesh", 3}});
  nodes.push_back({{"name", "jawBone"}, {"matrix", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -4, 2, 1}}});
  nodes.push_back({{"name", "browBoneL"}, {"translation", {3, 7, 9}}});

  Json lashes = head.json["meshes"][0];
  lashes["name"] = "lashes";
  Json names = Json::array();
  for (const Json& name : lashes["extras"]["targetNames"])
    names.push_back("Lashes." + name.get<std::string>());
  lashes["extras"]["targetNames"] = names;
  head.json["meshes"].push_back(lashes);

  std::ofstream out(argv[1], std::ios::binary);
  mien::WriteGlb(head, out);
  return out.flush() ? 0 : 1;
}
