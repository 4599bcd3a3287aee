// A build without Node.js.
#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using testing::HasSubstr;

namespace {

const std::string kSamples = MIEN_SAMPLES_FOLDER;

using WithoutViewer = MienTest;

} // namespace

TEST_F(WithoutViewer, EveryCommandThatWouldWriteAPageSaysSo) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"view", kSamples + "/markers.csv", "-o", "page.html"},
                                             {"solve", kSamples + "/landmarks.csv", "-p", "landmarks68", "-o",
                                              "w.csv", "--view", "page.html"}}) {
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2);
    EXPECT_THAT(ran.err, HasSubstr("this mien was built without Node.js, and cannot write pages"));
    EXPECT_FALSE(Has("page.html"));
  }
}
