#include "host/jobs/animation_choice.h"

#include "host/base/text.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/gltf/vrm.h"
#include "host/jobs/output_place.h"

#include <fmt/format.h>

#include <filesystem>

namespace mien {

AnimationFormat FormatOf(const AnimationChoice& choice) {
  const std::string ending = ToLower(std::filesystem::path(choice.output).extension().string());
  const bool on_head = ending == ".glb" || ending == ".vrm";
  const bool other_ending = on_head || ending == ".json" || ending == ".vrma";
  const bool is_csv = ending == ".csv" || (!other_ending && IsStream(choice.output));
  if (!is_csv && !other_ending)
    throw UsageError(
        "output", fmt::format("{} does not end in .csv, .json, .glb, .vrm or .vrma, which say what to write",
                              Quoted(choice.output)));
  if (!is_csv && choice.csv_style) throw UsageError("csv-style", "this is for .csv");
  if (!is_csv && choice.only_templates) throw UsageError("templates", "this is for .csv");
  if (!on_head && !choice.has_view && !choice.onto.empty())
    throw UsageError("onto", "this is for .glb, .vrm and --view");
  if (ending == ".vrm" && choice.onto.empty())
    throw UsageError("output", "a .vrm is an avatar: name it with --onto, or write a .vrma for any avatar");
  if (choice.onto.empty() && !choice.head_node.empty()) throw UsageError("head", "this is for --onto");
  if (choice.onto.empty() && choice.eye_nodes) throw UsageError("eyes", "this is for --onto");
  if (on_head) return AnimationFormat::Glb;
  if (ending == ".vrma") return AnimationFormat::Vrma;
  if (ending == ".json") return AnimationFormat::Json;
  const bool livelink = choice.csv_style == CsvStyle::LiveLink;
  if (livelink && choice.only_templates)
    throw UsageError("templates", "--csv-style livelink has the 52 shapes only");
  if (livelink) return AnimationFormat::LiveLinkCsv;
  return choice.only_templates || !choice.has_shapes ? AnimationFormat::TemplateCsv
                                                     : AnimationFormat::ShapeCsv;
}

AnimationOutput OutputOf(const AnimationChoice& choice) {
  AnimationOutput output;
  output.path = choice.output;
  output.format = FormatOf(choice);
  if (!choice.head_node.empty()) output.nodes.head = choice.head_node;
  output.nodes.eyes = choice.eye_nodes;
  if (choice.onto.empty()) return output;
  output.onto = ReadGlb(ReadFile(choice.onto), InputName(choice.onto));
  if (ToLower(std::filesystem::path(choice.output).extension().string()) == ".vrm" && !ReadVrm(*output.onto))
    throw InputError(Code::Contradiction, output.onto->file, "",
                     "this head is not a VRM avatar, and cannot become a .vrm", "write a .glb");
  return output;
}

void CheckColumns(const Character& character, AnimationFormat format) {
  if (format != AnimationFormat::ShapeCsv) return;
  for (const std::string& shape : character.Shapes())
    if (shape == "frame" || shape == "time" || shape == "timecode")
      throw InputError(Code::Duplicate, character.file, "/parts",
                       fmt::format("the shape {} has the name of a .csv column", Quoted(shape)),
                       "rename it, or write .json");
}

} // namespace mien
