#include "host/gltf/json_at.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using mien::Glb;
using mien::JsonAt;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

Glb File(const std::string& json) { return {nlohmann::ordered_json::parse(json), {}, "", "h.glb"}; }

} // namespace

TEST(JsonAt, FollowsMembersAndElements) {
  const Glb glb = File(R"({"a":[{"b":"text"},{"c":[1,-2.5]}],"none":[]})");
  const JsonAt root(glb);
  EXPECT_EQ(root.At("a").Element(0).At("b").String(), "text");
  EXPECT_THAT(root.ElementsOf("a"), SizeIs(2));
  EXPECT_THAT(root.ElementsOf("none"), IsEmpty());
  EXPECT_THAT(root.ElementsOf("absent"), IsEmpty());
  EXPECT_FALSE(root.Find("absent"));
  EXPECT_THAT(root.At("a").Elements()[1].At("c").Numbers(2), ElementsAre(1, -2.5));
}

TEST(JsonAt, AnIndexIsAWholeNumberBelowTheCount) {
  const Glb glb = File(R"({"i":2})");
  const JsonAt index = JsonAt(glb).At("i");
  EXPECT_EQ(index.Index(3, "nodes"), 2u);
  EXPECT_EQ(InputErrorOf([&] { index.Index(2, "nodes"); }),
            "h.glb:/i: this is not the index of one of the 2 nodes; export the head again");
  EXPECT_EQ(InputErrorOf([&] { index.Index(0, "nodes"); }),
            "h.glb:/i: this is not the index of one of the 0 nodes; export the head again");
}

TEST(JsonAt, ItsMessagesSayWhere) {
  const Glb glb = File(R"({"a":[0,{"b/~":{"\u001b[2J":[1]}}]})");
  const JsonAt deep = JsonAt(glb).At("a").Element(1).At("b/~");
  EXPECT_EQ(InputErrorOf([&] { deep.Fail(mien::Code::Doubtful, "WHAT", "FIX"); }),
            "h.glb:/a/1/b~1~0: WHAT; FIX");
  EXPECT_EQ(InputErrorOf([&] { deep.At("\x1B[2J").String(); }),
            "h.glb:/a/1/b~1~0/?[2J: this is not a string; export the head again")
      << "a file does not steer the terminal";
  EXPECT_EQ(InputErrorOf([&] { deep.At("\x1B[2J").Numbers(2); }),
            "h.glb:/a/1/b~1~0/?[2J: this is not a list of 2 numbers; export the head again");
  EXPECT_EQ(InputErrorOf([&] { deep.At("\x1B[2J").Numbers(0); }),
            "h.glb:/a/1/b~1~0/?[2J: this is not a list of 0 numbers; export the head again");
}

TEST(JsonAt, ItsErrorsHaveCodes) {
  const Glb glb = File(R"({"a":[0]})");
  const JsonAt root(glb), list = root.At("a"), number = list.Element(0);
  EXPECT_EQ(ProblemOf([&] { root.At("b"); }), "missing at no place");
  EXPECT_EQ(ProblemOf([&] { list.At("b"); }), "invalid-value at /a");
  EXPECT_EQ(ProblemOf([&] { root.Elements(); }), "invalid-value at no place");
  EXPECT_EQ(ProblemOf([&] { number.Index(0, "nodes"); }), "invalid-value at /a/0");
  EXPECT_EQ(ProblemOf([&] { number.String(); }), "invalid-value at /a/0");
  EXPECT_EQ(ProblemOf([&] { list.Numbers(2); }), "invalid-value at /a");
  EXPECT_EQ(ProblemOf([&] { list.Fail(mien::Code::Doubtful, "WHAT", "FIX"); }), "doubtful at /a");
}
