#include "host/files/unfinished_files.h"

#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace fs = std::filesystem;

using mien::RemoveUnfinishedFiles;
using mien::UnfinishedFile;

class UnfinishedFiles : public TemporaryFolder {};

TEST_F(UnfinishedFiles, AreRemovedAndNoOthers) {
  const fs::path listed = Write("a", ""), finished = Write("b", ""), other = Write("c", "");
  const UnfinishedFile file(listed);
  { const UnfinishedFile done(finished); }
  RemoveUnfinishedFiles();
  EXPECT_FALSE(fs::exists(listed));
  EXPECT_TRUE(fs::exists(finished));
  EXPECT_TRUE(fs::exists(other));
}

TEST_F(UnfinishedFiles, AreAsManyAsTheListHoldsAndFurtherOnesAreLeft) {
  std::vector<std::unique_ptr<UnfinishedFile>> files;
  for (std::size_t i = 0; i < UnfinishedFile::kMost + 1; ++i)
    files.push_back(std::make_unique<UnfinishedFile>(Write(std::to_string(i), "").string()));
  RemoveUnfinishedFiles();
  for (std::size_t i = 0; i < UnfinishedFile::kMost + 1; ++i)
    EXPECT_EQ(fs::exists(folder_ / std::to_string(i)), i == UnfinishedFile::kMost) << i;
  files.clear(); // which makes room
  const fs::path again = Write("again", "");
  const UnfinishedFile file(again);
  RemoveUnfinishedFiles();
  EXPECT_FALSE(fs::exists(again));
}

TEST_F(UnfinishedFiles, APathThatIsTooLongIsLeftOut) {
  const UnfinishedFile file(std::string(UnfinishedFile::kLongest, 'a'));
  RemoveUnfinishedFiles();
}
