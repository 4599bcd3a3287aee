#include "host/files/read_file.h"
#include "host/jobs/character_job.h"
#include "tests/host/c_interface/handles.h"
#include "tests/host/temporary_folder.h"

#include <filesystem>

using mien::ReadFile;
using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

std::string JsonOf(const CharacterHandle& character) {
  Errors errors;
  const Text text(mien_character_to_json(character.get(), errors));
  EXPECT_TRUE(text) << errors.AllText();
  return mien_text_data(text.get());
}

} // namespace

class CCharacter : public TemporaryFolder {};

TEST_F(CCharacter, ComesFromAFileFromItsTextAndAsABuiltIn) {
  const std::string path = kSamples / "puppet.character.json", json = ReadFile(path);
  Errors errors;
  const CharacterHandle of_text(mien_character_from_json(json.data(), json.size(), "here.json", errors));
  ASSERT_TRUE(of_text) << errors.AllText();
  EXPECT_EQ(JsonOf(of_text), JsonOf(LoadCharacter(path)));
  const CharacterHandle built_in = LoadCharacter("arkit52");
  EXPECT_STREQ(mien_character_name(built_in.get()), "arkit52");
  ASSERT_EQ(mien_character_shape_count(built_in.get()), 52u);
  EXPECT_NE(mien_character_shape(built_in.get(), 51), nullptr);
  EXPECT_EQ(mien_character_shape(built_in.get(), 52), nullptr);
  EXPECT_FALSE(mien_character_from_json("{}", 2, "here.json", errors));
  EXPECT_EQ(errors.Status(), MIEN_INPUT);
}

TEST_F(CCharacter, OfAHeadIsTheCommands) {
  mien::CharacterFromHeadJob job;
  job.head = kSamples / "head.glb";
  job.output = folder_ / "head.json";
  mien::Run(job);
  Errors errors;
  const CharacterHandle of_head(mien_character_from_head(job.head.c_str(), nullptr, errors));
  ASSERT_TRUE(of_head) << errors.AllText();
  EXPECT_EQ(JsonOf(of_head), ReadFile(job.output));

  std::vector<const char*> shapes;
  for (std::size_t s = 0; s < mien_character_shape_count(of_head.get()); ++s)
    shapes.push_back(mien_character_shape(of_head.get(), s));
  const CharacterHandle of_names(mien_character_from_shapes(shapes.data(), shapes.size(), "head", errors));
  ASSERT_TRUE(of_names) << errors.AllText();
  EXPECT_EQ(JsonOf(of_names), JsonOf(of_head));
  EXPECT_FALSE(mien_character_from_shapes(nullptr, 0, "head", errors));
  EXPECT_EQ(errors.Status(), MIEN_USAGE);
}
