// The page that is embedded into the command.

#include "host/view/viewer_page.h"

#include <gtest/gtest.h>

#include <string>

namespace mien {
namespace {

std::size_t Count(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(ViewerPage, IsWholeAndHasThePlacesOfItsDataOnce) {
  const std::optional<std::string_view> page = ViewerPage();
  ASSERT_TRUE(page);
  EXPECT_TRUE(page->starts_with("<!doctype html>"));
  EXPECT_TRUE(page->ends_with("</html>\n"));
  for (const char* word : {"MIEN_DATA", "MIEN_BYTES"}) EXPECT_EQ(Count(*page, word), 1) << word;
  EXPECT_EQ(Count(*page, "\n<script id=\"mien-data\" type=\"application/json\">MIEN_DATA</script>\n"), 1);
  EXPECT_EQ(Count(*page, "\n<script id=\"mien-bytes\" type=\"text/plain\">MIEN_BYTES</script>\n"), 1);
  EXPECT_EQ(Count(*page, "connect-src blob:;"), 1) << "where a page of a stream may ask its own server";
}

} // namespace
} // namespace mien
