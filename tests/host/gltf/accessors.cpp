#include "host/gltf/accessors.h"

#include "host/gltf/json_at.h"
#include "tests/host/glb_binary.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

using mien::Accessors;
using mien::Glb;
using mien::JsonAt;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// A GLB with these bytes, views and accessors; what names an accessor is its member "use".
Glb With(const std::string& bytes, const std::string& views, const std::string& accessors, int use = 0) {
  return {nlohmann::ordered_json::parse(R"({"buffers":[{"byteLength":)" + std::to_string(bytes.size()) +
                                        R"(}],"bufferViews":)" + views + R"(,"accessors":)" + accessors +
                                        R"(,"use":)" + std::to_string(use) + "}"),
          tests::Binary(bytes), "", "h.glb"};
}

std::vector<double> Numbers(const Glb& glb, std::size_t components,
                            std::optional<std::size_t> count = std::nullopt) {
  return Accessors(glb).Numbers(JsonAt(glb).At("use"), components, count);
}

std::string Error(const Glb& glb, std::size_t components = 1,
                  std::optional<std::size_t> count = std::nullopt) {
  return InputErrorOf([&] { Numbers(glb, components, count); });
}

const std::string kView = R"([{"buffer":0,"byteLength":8}])";

/// An accessor of that view.
std::string Of(const std::string& component, const std::string& count, const std::string& more = "",
               const std::string& type = "SCALAR") {
  return R"([{"bufferView":0,"componentType":)" + component + R"(,"count":)" + count + R"(,"type":")" + type +
         "\"" + more + "}]";
}

} // namespace

TEST(Accessors, ReadEveryTypeOfComponent) {
  const std::string bytes("\xFF\x7F\x80\x01\0\0\xC0\x3F", 8); // the last four: 1.5
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5120", "4")), 1), ElementsAre(-1, 127, -128, 1));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5121", "4")), 1), ElementsAre(255, 127, 128, 1));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5122", "2")), 1), ElementsAre(32767, 0x0180));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5123", "2")), 1), ElementsAre(32767, 0x0180));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5125", "1")), 1), ElementsAre(0x01807FFF));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5126", "1", R"(,"byteOffset":4)")), 1), ElementsAre(1.5));
}

TEST(Accessors, NormalisedIntegersAreSharesOfTheLargest) {
  const std::string bytes("\xFF\x7F\x80\x01\0\0\0\0", 8), normalised = R"(,"normalized":true)";
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5120", "3", normalised)), 1),
              ElementsAre(DoubleNear(-1.0 / 127, 1e-15), 1, -1));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5121", "1", normalised)), 1), ElementsAre(1));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5122", "1", normalised)), 1), ElementsAre(1));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5123", "1", normalised)), 1),
              ElementsAre(DoubleNear(32767.0 / 65535, 1e-15)));
}

TEST(Accessors, ReadInterleavedElements) {
  const std::string bytes("\1\2\3\4\5\6\7\10", 8);
  const Glb glb = With(bytes, R"([{"buffer":0,"byteOffset":1,"byteLength":7,"byteStride":4}])",
                       Of("5121", "2", "", "VEC3"));
  EXPECT_THAT(Numbers(glb, 3, 2), ElementsAre(2, 3, 4, 6, 7, 8));
}

TEST(Accessors, SparseElementsReplaceTheirOwn) {
  const std::string bytes("\1\2\3\4\2\0\7\10", 8); // four values; two indices; two values
  const std::string views = R"([{"buffer":0,"byteLength":4},{"buffer":0,"byteOffset":4,"byteLength":2},
                                {"buffer":0,"byteOffset":6,"byteLength":2}])";
  const std::string sparse = R"(,"sparse":{"count":2,"indices":{"bufferView":1,"componentType":5121},)"
                             R"("values":{"bufferView":2}})";
  EXPECT_THAT(Numbers(With(bytes, views, Of("5121", "4", sparse)), 1), ElementsAre(8, 2, 7, 4));
  const std::string zeros = R"([{"componentType":5121,"count":3,"type":"SCALAR")" + sparse + "}]";
  EXPECT_THAT(Numbers(With(bytes, views, zeros), 1, 3), ElementsAre(8, 0, 7));
  EXPECT_THAT(Error(With(bytes, views, Of("5121", "2", sparse))), HasSubstr("index 0 of these"));
}

TEST(Accessors, WithoutDataAreZerosOfAKnownNumber) {
  const std::string accessor = R"([{"componentType":5126,"count":2,"type":"VEC3"}])";
  EXPECT_THAT(Numbers(With("", "[]", accessor), 3, 2), ElementsAre(0, 0, 0, 0, 0, 0));
  EXPECT_EQ(Error(With("", "[]", accessor), 3),
            "h.glb:/accessors/0: the data is not in this file, or is compressed; export it again as one "
            ".glb, without compression of meshes");
}

TEST(Accessors, RefuseWhatContradictsItself) {
  const std::string bytes(8, '\0');
  EXPECT_THAT(Error(With(bytes, kView, Of("5121", "9"))), HasSubstr("do not fit"));
  EXPECT_THAT(Error(With(bytes, kView, Of("5126", "2", R"(,"byteOffset":1)"))), HasSubstr("do not fit"));
  EXPECT_THAT(Error(With(bytes, kView, Of("5121", "9223372036854775807"))), HasSubstr("do not fit"));
  EXPECT_THAT(Error(With(bytes, R"([{"buffer":0,"byteLength":9}])", Of("5121", "1"))),
              HasSubstr("/bufferViews/0: this view ends behind the 8 bytes"));
  EXPECT_THAT(Error(With(bytes, R"([{"buffer":0,"byteLength":8,"byteStride":2}])", Of("5126", "1"))),
              HasSubstr("elements overlap"));
  EXPECT_THAT(Error(With(bytes, kView, Of("5124", "1"))), HasSubstr("component type"));
  EXPECT_THAT(Error(With(bytes, kView, Of("5121", "-1"))), HasSubstr("not a whole number"));
  EXPECT_THAT(Error(With(bytes, kView, Of("5121", "1")), 3), HasSubstr("this is not VEC3"));
  EXPECT_THAT(Error(With(bytes, kView, Of("5121", "2")), 1, 3), HasSubstr("has 2 elements, and the mesh 3"));
  EXPECT_THAT(Error(With(bytes, kView, Of("5121", "1"), 1)), HasSubstr("not the index of one of the 1 acc"));
  EXPECT_THAT(Error(With(bytes, R"([{"buffer":1,"byteLength":8}])", Of("5121", "1"))),
              HasSubstr("not the index of one of the 1 buffers"));
  EXPECT_THAT(Error(With(std::string("\0\0\xC0\x7F\0\0\0\0", 8), kView, Of("5126", "1"))),
              HasSubstr("element 0 is not finite"));
  Glb elsewhere = With(bytes, kView, Of("5121", "1"));
  elsewhere.json["buffers"][0]["uri"] = "head.bin";
  EXPECT_THAT(Error(elsewhere), HasSubstr("/bufferViews/0/buffer: the data is not in this file"));
  EXPECT_THAT(Numbers(With(bytes, kView, Of("5121", "0", R"(,"byteOffset":99)")), 1), IsEmpty());
}
