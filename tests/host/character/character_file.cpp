#include "host/character/character_file.h"

#include "mien/face/face.h"
#include "tests/host/cpu_seconds.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using mien::Character;
using mien::ClusterTransform;
using mien::LoadCharacter;
using mien::ReadCharacter;
using mien::ShapeWeights;
using mien::WriteCharacter;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

namespace {

const std::string kParts = R"({ "face": { "shapes": ["a", "b"] } })";
const std::string kTemplates = R"({ "Mouth": { "Open": { "a": 1 } } })";

/// A character file with these parts and templates, followed by `more` members.
std::string File(const std::string& parts = kParts, const std::string& templates = kTemplates,
                 const std::string& more = "") {
  return R"({ "format": "mien character 1", "name": "Robot", "parts": )" + parts + R"(, "templates": )" +
         templates + (more.empty() ? "" : ", ") + more + " }";
}

/// The same with one part "face" with the shapes "a" and "b" and these clusters.
std::string WithClusters(const std::string& clusters) {
  return File(R"({ "face": { "shapes": ["a", "b"], "clusters": )" + clusters + " } }");
}

/// The same with a cluster "jaw" that has this rest transform.
std::string WithRest(const std::string& transform) {
  return WithClusters(R"({ "rest": { "jaw": )" + transform + " } }");
}

std::string WithExpressions(const std::string& expressions) {
  return File(kParts, kTemplates, R"("expressions": )" + expressions);
}

Character Read(const std::string& text) { return ReadCharacter(text, "c.json"); }

std::string Error(const std::string& text) {
  return InputErrorOf([&] { Read(text); });
}

ClusterTransform ReadTransform(const std::string& transform) {
  return Read(WithRest(transform)).parts.at(0).clusters.at(0).rest;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string Written(const Character& character) {
  std::ostringstream out;
  WriteCharacter(character, out);
  return out.str();
}

/// `count` times `one(i)`, separated by commas.
template <class Function>
std::string List(int count, const Function& one) {
  std::string list;
  for (int i = 0; i < count; ++i) list += (i > 0 ? ", " : "") + one(i);
  return list;
}

std::string Names(int count, const std::string& prefix) {
  return '[' + List(count, [&](int i) { return '"' + prefix + std::to_string(i) + '"'; }) + ']';
}

VgeTVector At(double x, double y, double z) { return {x, y, z}; }

double Difference(const VgeRMatrix& a, const VgeRMatrix& b) {
  double most = 0;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row) {
      const double difference = std::fabs(a.m[column][row] - b.m[column][row]);
      if (!(difference <= most)) most = difference; // a NaN is kept
    }
  return most;
}

VgeRMatrix Euler(double x, double y, double z) {
  VgeRMatrix rotation;
  VTxRotationOrder{.mOrder = 0}.V2M(rotation, VgeRVector(x, y, z));
  return rotation;
}

/// Compares values exactly, except rotations: those to the precision of a conversion through degrees.
void ExpectEqual(const ClusterTransform& a, const ClusterTransform& b) {
  EXPECT_EQ(a.translation, b.translation);
  EXPECT_LT(Difference(a.rotation, b.rotation), 1e-12);
  EXPECT_EQ(a.scale, b.scale);
}

void ExpectEqual(const Character& a, const Character& b) {
  EXPECT_EQ(a.name, b.name);
  ASSERT_EQ(a.range.has_value(), b.range.has_value());
  if (a.range) {
    EXPECT_EQ(a.range->least, b.range->least);
    EXPECT_EQ(a.range->most, b.range->most);
  }
  ASSERT_EQ(a.parts.size(), b.parts.size());
  for (std::size_t p = 0; p < a.parts.size(); ++p) {
    const Character::Part &one = a.parts[p], &other = b.parts[p];
    EXPECT_EQ(one.name, other.name);
    EXPECT_EQ(one.shapes, other.shapes);
    ExpectEqual(one.root, other.root);
    ASSERT_EQ(one.clusters.size(), other.clusters.size()) << one.name;
    for (std::size_t c = 0; c < one.clusters.size(); ++c) {
      EXPECT_EQ(one.clusters[c].name, other.clusters[c].name);
      ExpectEqual(one.clusters[c].rest, other.clusters[c].rest);
    }
    ASSERT_EQ(one.poses.size(), other.poses.size()) << one.name;
    for (std::size_t s = 0; s < one.poses.size(); ++s) {
      EXPECT_EQ(one.poses[s].shape, other.poses[s].shape);
      ASSERT_EQ(one.poses[s].clusters.size(), other.poses[s].clusters.size());
      for (std::size_t c = 0; c < one.poses[s].clusters.size(); ++c)
        ExpectEqual(one.poses[s].clusters[c], other.poses[s].clusters[c]);
    }
  }
  EXPECT_EQ(a.templates, b.templates);
  ASSERT_EQ(a.expressions.size(), b.expressions.size());
  for (std::size_t e = 0; e < a.expressions.size(); ++e) {
    EXPECT_EQ(a.expressions[e].name, b.expressions[e].name);
    EXPECT_EQ(a.expressions[e].shapes, b.expressions[e].shapes);
    for (int p = 0; p < 9; ++p)
      for (int t = 0; t < 25; ++t)
        EXPECT_EQ(a.expressions[e].templates.mParts[p].mWeights[t],
                  b.expressions[e].templates.mParts[p].mWeights[t]);
  }
}

constexpr int kMouth = 0, kLeftBrow = 1, kRightNostril = 8;
constexpr int kOpen = 0, kCornersUpL = 3, kUp = 0, kDown = 1;

class CharacterFiles : public TemporaryFolder {};

} // namespace

// --- What is read.

TEST(ReadCharacter, ReadsEveryMember) {
  const Character character = Read(R"({
    "format": "mien character 1", "name": "Robot", "range": [-0.5, 2],
    "parts": {
      "face": { "shapes": ["jawOpen", "smile_L"] },
      "jaw": {
        "shapes": ["jawDrop", "jawSide", "jawFront"],
        "clusters": {
          "root": { "translation": [0, 100, 0], "rotation": [0, 0, 90], "scale": [1, 2, -3] },
          "rest": { "jawBone": { "translation": [1, 2, 3] }, "chinBone": { "scale": [4, 5, 6] } },
          "poses": { "jawFront": {}, "jawDrop": { "chinBone": { "translation": [0, -9, 0] } } }
        }
      },
      "empty": { "shapes": [] }
    },
    "templates": {
      "RightNostril": { "Up": { "smile_L": 0.25 } },
      "Mouth": { "CornersUpL": { "smile_L": 1 }, "Open": { "jawDrop": 0.8, "jawOpen": 1 }, "Square": {} },
      "LeftEye": {}
    },
    "expressions": {
      "Smile": { "templates": { "Mouth": { "CornersUpL": 1, "Open": -0.5 }, "LeftBrow": { "Down": 2 } },
                 "shapes": { "smile_L": 1.5, "jawOpen": -1 } },
      "Blank": {}
    }
  })");
  EXPECT_EQ(character.name, "Robot");
  EXPECT_EQ(character.file, "c.json");
  ASSERT_TRUE(character.range);
  EXPECT_EQ(character.range->least, -0.5);
  EXPECT_EQ(character.range->most, 2);

  ASSERT_EQ(character.parts.size(), 3u);
  EXPECT_EQ(character.parts[0].name, "face");
  EXPECT_THAT(character.parts[0].shapes, ElementsAre("jawOpen", "smile_L"));
  EXPECT_THAT(character.parts[0].clusters, IsEmpty());
  EXPECT_THAT(character.parts[0].poses, IsEmpty());
  const Character::Part& jaw = character.parts[1];
  EXPECT_EQ(jaw.name, "jaw");
  EXPECT_THAT(jaw.shapes, ElementsAre("jawDrop", "jawSide", "jawFront"));
  ExpectEqual(jaw.root, {At(0, 100, 0), Euler(0, 0, 90), VgeSVector(1, 2, -3)});
  ASSERT_EQ(jaw.clusters.size(), 2u);
  EXPECT_EQ(jaw.clusters[0].name, "jawBone");
  ExpectEqual(jaw.clusters[0].rest, {At(1, 2, 3), VgeRMatrix(), VgeSVector(1, 1, 1)});
  EXPECT_EQ(jaw.clusters[1].name, "chinBone");
  ExpectEqual(jaw.clusters[1].rest, {At(0, 0, 0), VgeRMatrix(), VgeSVector(4, 5, 6)});
  ASSERT_EQ(jaw.poses.size(), 2u) << "jawSide drives no clusters";
  EXPECT_EQ(jaw.poses[0].shape, "jawFront");
  EXPECT_EQ(jaw.poses[1].shape, "jawDrop");
  for (const Character::Pose& pose : jaw.poses) ASSERT_EQ(pose.clusters.size(), 2u);
  ExpectEqual(jaw.poses[1].clusters[0], jaw.clusters[0].rest);
  ExpectEqual(jaw.poses[1].clusters[1], {At(0, -9, 0), VgeRMatrix(), VgeSVector(4, 5, 6)});
  EXPECT_EQ(character.parts[2].name, "empty");
  EXPECT_THAT(character.parts[2].shapes, IsEmpty());
  EXPECT_THAT(character.Shapes(), ElementsAre("jawOpen", "smile_L", "jawDrop", "jawSide", "jawFront"));

  decltype(Character::templates) templates;
  for (std::size_t p = 0; p < 9; ++p)
    templates[p].resize(static_cast<std::size_t>(GetGlobalFace()->mParts[p].mTemplates.GetCount()));
  templates[kMouth][kOpen] = {{"jawDrop", 0.8}, {"jawOpen", 1.0}};
  templates[kMouth][kCornersUpL] = {{"smile_L", 1.0}};
  templates[kRightNostril][kUp] = {{"smile_L", 0.25}};
  EXPECT_EQ(character.templates, templates);

  ASSERT_EQ(character.expressions.size(), 2u);
  const Character::Expression& smile = character.expressions[0];
  EXPECT_EQ(smile.name, "Smile");
  EXPECT_EQ(smile.shapes, (ShapeWeights{{"smile_L", 1.5}, {"jawOpen", -1.0}}));
  VFaceTemplateState of_smile;
  of_smile.mParts[kMouth].mWeights[kCornersUpL] = 1;
  of_smile.mParts[kMouth].mWeights[kOpen] = -0.5;
  of_smile.mParts[kLeftBrow].mWeights[kDown] = 2;
  for (int p = 0; p < 9; ++p)
    EXPECT_THAT(smile.templates.mParts[p].mWeights, testing::ElementsAreArray(of_smile.mParts[p].mWeights));
  EXPECT_EQ(character.expressions[1].name, "Blank");
  EXPECT_FALSE(character.expressions[1].templates.IsDefined());
  EXPECT_THAT(character.expressions[1].shapes, IsEmpty());
}

TEST(ReadCharacter, TheSmallestFileIsAPartWithoutShapes) {
  const Character character = Read(File(R"({ "p": { "shapes": [] } })", "{}"));
  EXPECT_THAT(character.Shapes(), IsEmpty());
  EXPECT_FALSE(character.range);
  EXPECT_THAT(character.expressions, IsEmpty());
  for (std::size_t p = 0; p < 9; ++p) {
    EXPECT_EQ(character.templates[p].size(),
              static_cast<std::size_t>(GetGlobalFace()->mParts[p].mTemplates.GetCount()));
    for (const ShapeWeights& weights : character.templates[p]) EXPECT_THAT(weights, IsEmpty());
  }
}

TEST(ReadCharacter, TheOrderOfMembersDoesNotMatter) {
  const Character character = Read(R"({
    "expressions": { "E": { "shapes": { "a": 1 }, "templates": { "Mouth": { "Open": 1 } } } },
    "templates": { "Mouth": { "Open": { "b": 2 } } },
    "parts": { "p": { "clusters": { "poses": { "b": { "c": { "scale": [2, 2, 2] } } },
                                    "rest": { "c": {} } },
                      "shapes": ["a", "b"] } },
    "name": "N", "format": "mien character 1"
  })");
  EXPECT_EQ(character.templates[kMouth][kOpen], (ShapeWeights{{"b", 2.0}}));
  EXPECT_EQ(character.parts[0].poses.at(0).clusters.at(0).scale, VgeSVector(2, 2, 2));
  EXPECT_EQ(character.expressions.at(0).shapes, (ShapeWeights{{"a", 1.0}}));
}

TEST(ReadCharacter, NamesCanBeAnyText) {
  const Character character = Read(R"({
    "format": "mien character 1", "name": "眉 \"x\"",
    "parts": { "a/b": { "shapes": ["ä/ß", "~", "a b", "a\\b", "A", "a", "."],
                        "clusters": { "rest": { "眉/~": {}, "a": {} }, "poses": { "~": { "眉/~": {} } } } },
               "A/B": { "shapes": ["a/b"], "clusters": { "rest": { "a": {} } } } },
    "templates": { "Mouth": { "Open": { "ä/ß": 1, "~": 2, "a\\b": 3 } } },
    "expressions": { "/": { "shapes": { "~": 1 } } }
  })");
  EXPECT_EQ(character.name, "眉 \"x\"");
  EXPECT_EQ(character.parts[0].name, "a/b");
  EXPECT_EQ(character.parts[1].name, "A/B");
  EXPECT_THAT(character.parts[0].shapes, ElementsAre("ä/ß", "~", "a b", "a\\b", "A", "a", "."));
  EXPECT_EQ(character.parts[0].clusters[0].name, "眉/~");
  EXPECT_EQ(character.parts[1].clusters[0].name, "a") << "clusters of different parts may have the same name";
  EXPECT_EQ(character.parts[0].poses[0].shape, "~");
  EXPECT_THAT(character.templates[kMouth][kOpen], ElementsAre(Pair("ä/ß", 1), Pair("~", 2), Pair("a\\b", 3)));
  EXPECT_EQ(character.expressions[0].name, "/");
}

TEST(ReadCharacter, WeightsCanBeAnyNumbers) {
  EXPECT_THAT(Read(File(R"({ "p": { "shapes": ["a", "b", "c", "d", "e", "f"] } })",
                        R"({ "Mouth": { "Open": { "a": -3, "b": 1e308, "c": 0, "d": 18446744073709551615,
                                                  "e": 0.1, "f": 5e-324 } } })"))
                  .templates[kMouth][kOpen],
              ElementsAre(Pair("a", -3), Pair("b", 1e308), Pair("c", 0), Pair("d", 18446744073709551615.0),
                          Pair("e", 0.1), Pair("f", 5e-324)));
}

// --- Transforms.

TEST(ReadCharacter, TransformsCanOmitAnyMember) {
  ExpectEqual(ReadTransform("{}"), {At(0, 0, 0), VgeRMatrix(), VgeSVector(1, 1, 1)});
  ExpectEqual(ReadTransform(R"({ "scale": [2, 3, 4] })"), {At(0, 0, 0), VgeRMatrix(), VgeSVector(2, 3, 4)});
  ExpectEqual(ReadTransform(R"({ "translation": [2, 3, 4] })"),
              {At(2, 3, 4), VgeRMatrix(), VgeSVector(1, 1, 1)});
  EXPECT_EQ(ReadTransform("{}").rotation, VgeRMatrix());
}

TEST(ReadCharacter, ThreeNumbersAreDegreesAboutXThenYThenZ) {
  const VgeRMatrix about_x = ReadTransform(R"({ "rotation": [90, 0, 0] })").rotation;
  EXPECT_NEAR(about_x.m[1][2], 1, 1e-15) << "y goes to z";
  const VgeRMatrix about_y = ReadTransform(R"({ "rotation": [0, 90, 0] })").rotation;
  EXPECT_NEAR(about_y.m[2][0], 1, 1e-15) << "z goes to x";
  const VgeRMatrix about_z = ReadTransform(R"({ "rotation": [0, 0, 90] })").rotation;
  EXPECT_NEAR(about_z.m[0][1], 1, 1e-15) << "x goes to y";
  // About x first, y goes to z; then about y, on to x; then about z, on to y.
  const VgeRMatrix all = ReadTransform(R"({ "rotation": [90, 90, 90] })").rotation;
  EXPECT_NEAR(all.m[1][1], 1, 1e-15);
  EXPECT_EQ(ReadTransform(R"({ "rotation": [10, -200.5, 1e5] })").rotation, Euler(10, -200.5, 1e5));
}

TEST(ReadCharacter, FourNumbersAreAQuaternionXyzw) {
  // A third of a turn about (1, 1, 1): x to y to z to x.
  const VgeRMatrix rotation = ReadTransform(R"({ "rotation": [0.5, 0.5, 0.5, 0.5] })").rotation;
  VgeRMatrix expected;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) expected.m[column][row] = row == (column + 1) % 3 ? 1 : 0;
  EXPECT_EQ(rotation, expected);
  EXPECT_EQ(ReadTransform(R"({ "rotation": [0, 0, 0, 1] })").rotation, VgeRMatrix());
  // The scalar part is the last: 20 degrees about x.
  const double half = std::acos(-1.0) / 18;
  EXPECT_LT(Difference(ReadTransform("{ \"rotation\": [" + std::to_string(std::sin(half)) + ", 0, 0, " +
                                     std::to_string(std::cos(half)) + "] }")
                           .rotation,
                       Euler(20, 0, 0)),
            1e-5); // six digits are written
}

TEST(ReadCharacter, AQuaternionCanHaveAnyLengthAndSign) {
  const VgeRMatrix unit = ReadTransform(R"({ "rotation": [0.36, -0.48, 0.8, 0.0] })").rotation;
  const VgeRMatrix turn = ReadTransform(R"({ "rotation": [1, -2, 3, -4] })").rotation;
  for (const std::string same : {"[-1, 2, -3, 4]", "[10, -20, 30, -40]", "[1e300, -2e300, 3e300, -4e300]",
                                 "[1e-300, -2e-300, 3e-300, -4e-300]", "[-0.25, 0.5, -0.75, 1]"})
    EXPECT_LT(Difference(ReadTransform("{ \"rotation\": " + same + " }").rotation, turn), 1e-15) << same;
  EXPECT_LT(Difference(ReadTransform(R"({ "rotation": [9, -12, 20, 0] })").rotation, unit), 1e-15);
  for (const std::string identity :
       {"[0, 0, 0, -1]", "[0, 0, 0, 5e-324]", "[0, 0, 0, 1.7e308]", "[-0.0, 0, 0, 18446744073709551615]"})
    EXPECT_EQ(ReadTransform("{ \"rotation\": " + identity + " }").rotation, VgeRMatrix()) << identity;
  // The smallest numbers, which have one bit.
  const VgeRMatrix tiny = ReadTransform(R"({ "rotation": [5e-324, 5e-324, -5e-324, 5e-324] })").rotation;
  EXPECT_LT(Difference(tiny, ReadTransform(R"({ "rotation": [1, 1, -1, 1] })").rotation), 1e-15);
}

// Compared with the library's conversion: the rotation that was read has this quaternion.
TEST(ReadCharacter, QuaternionsAreProperRotations) {
  tests::Random random(5);
  for (int i = 0; i < 200; ++i) {
    double q[4], length = 0;
    std::ostringstream list;
    list.precision(17);
    for (double& component : q) {
      component = random.Between(-1, 1);
      length += component * component;
      list << (&component == q ? "" : ", ") << component;
    }
    length = std::sqrt(length);
    const VgeRMatrix rotation = ReadTransform("{ \"rotation\": [" + list.str() + "] }").rotation;
    const VgeQuaternion back(rotation);
    const double same = std::fabs(q[0] * back.x + q[1] * back.y + q[2] * back.z + q[3] * back.w) / length;
    EXPECT_NEAR(same, 1, 1e-14) << list.str();
    for (int a = 0; a < 3; ++a)
      for (int b = 0; b < 3; ++b) {
        double dot = 0;
        for (int row = 0; row < 3; ++row) dot += rotation.m[a][row] * rotation.m[b][row];
        EXPECT_NEAR(dot, a == b ? 1 : 0, 1e-14) << list.str();
      }
  }
}

TEST(ReadCharacter, APoseNamesOnlyDifferencesFromRest) {
  const Character character = Read(WithClusters(R"({
    "rest": { "c": { "translation": [1, 2, 3], "rotation": [10, 20, 30], "scale": [2, -3, 4] },
              "d": { "translation": [7, 8, 9] } },
    "poses": { "a": { "c": { "translation": [5, 5, 5] } },
               "b": { "c": { "rotation": [0, 0, 0] }, "d": { "scale": [9, 9, 9] } } }
  })"));
  const Character::Part& part = character.parts[0];
  ASSERT_EQ(part.poses.size(), 2u);
  ExpectEqual(part.poses[0].clusters[0], {At(5, 5, 5), Euler(10, 20, 30), VgeSVector(2, -3, 4)});
  ExpectEqual(part.poses[0].clusters[1], {At(7, 8, 9), VgeRMatrix(), VgeSVector(1, 1, 1)});
  ExpectEqual(part.poses[1].clusters[0], {At(1, 2, 3), VgeRMatrix(), VgeSVector(2, -3, 4)});
  ExpectEqual(part.poses[1].clusters[1], {At(7, 8, 9), VgeRMatrix(), VgeSVector(9, 9, 9)});
  EXPECT_EQ(part.poses[0].clusters[0].rotation, part.clusters[0].rest.rotation);
}

TEST(ReadCharacter, APoseMayMirrorIfTheRestPoseDoes) {
  EXPECT_EQ(Error(WithClusters(R"({ "rest": { "c": { "scale": [-1, 1, -2] } },
                                    "poses": { "a": { "c": { "scale": [-3, 5e-324, -1e308] } } } })")),
            "no InputError");
}

// --- Limits.

TEST(ReadCharacter, AcceptsTheLibrarysNumberOfParts) {
  const auto parts = [](int count) {
    return "{ " +
           List(count,
                [](int i) {
                  return "\"p" + std::to_string(i) + R"(": { "shapes": ["s)" + std::to_string(i) + "\"] }";
                }) +
           " }";
  };
  EXPECT_EQ(Read(File(parts(15), "{}")).parts.size(), 15u);
  EXPECT_EQ(Error(File(parts(16), "{}")),
            "c.json:/parts: 16 parts; combine some: a character has at most 15");
}

TEST(ReadCharacter, AcceptsTheLibrarysNumberOfShapesPerPart) {
  const auto parts = [](int first, int second) {
    return R"({ "p": { "shapes": )" + Names(first, "s") + R"( }, "q": { "shapes": )" + Names(second, "t") +
           " } }";
  };
  EXPECT_EQ(Read(File(parts(500, 500), "{}")).Shapes().size(), 1000u);
  EXPECT_EQ(Error(File(parts(500, 501), "{}")),
            "c.json:/parts/q/shapes: 501 shapes; move some to another part: a part has at most 500");
}

TEST(ReadCharacter, AcceptsTheLibrarysNumberOfExpressions) {
  const auto expressions = [](int count) {
    return WithExpressions("{ " + List(count, [](int i) { return "\"e" + std::to_string(i) + "\": {}"; }) +
                           " }");
  };
  EXPECT_EQ(Read(expressions(99)).expressions.size(), 99u);
  EXPECT_EQ(Error(expressions(100)),
            "c.json:/expressions: 100 expressions; leave some out: a character has at most 99");
}

TEST(ReadCharacter, NamesHaveUpTo255Bytes) {
  const std::string longest(255, 'x'), longer = longest + 'x';
  const auto file = [](const std::string& part, const std::string& shape, const std::string& cluster,
                       const std::string& expression) {
    return File("{ \"" + part + "\": { \"shapes\": [\"" + shape + "\"], \"clusters\": { \"rest\": { \"" +
                    cluster + "\": {} } } } }",
                "{}", "\"expressions\": { \"" + expression + "\": {} }");
  };
  const Character character = Read(file(longest, longest, longest, longest));
  EXPECT_EQ(character.parts[0].name, longest);
  EXPECT_EQ(character.parts[0].shapes[0], longest);
  EXPECT_EQ(character.parts[0].clusters[0].name, longest);
  EXPECT_EQ(character.expressions[0].name, longest);
  EXPECT_EQ(Error(file(longer, "s", "c", "e")),
            "c.json:/parts/" + longer + ": the part name has 256 bytes; use 1 to 255");
  EXPECT_EQ(Error(file("p", longer, "c", "e")),
            "c.json:/parts/p/shapes/0: the shape name has 256 bytes; use 1 to 255");
  EXPECT_EQ(Error(file("p", "s", longer, "e")),
            "c.json:/parts/p/clusters/rest/" + longer + ": the cluster name has 256 bytes; use 1 to 255");
  EXPECT_EQ(Error(file("p", "s", "c", longer)),
            "c.json:/expressions/" + longer + ": the expression name has 256 bytes; use 1 to 255");
  EXPECT_EQ(Error(file("", "", "", "")),
            "c.json:/parts/: the part name has 0 bytes; use 1 to 255\n"
            "c.json:/parts//shapes/0: the shape name has 0 bytes; use 1 to 255\n"
            "c.json:/parts//clusters/rest/: the cluster name has 0 bytes; use 1 to 255\n"
            "c.json:/expressions/: the expression name has 0 bytes; use 1 to 255");
  EXPECT_EQ(Read(R"({ "format": "mien character 1", "name": ")" + longer + longer + R"(", "parts": )" +
                 kParts + R"(, "templates": {} })")
                .name,
            longer + longer)
      << "the character's own name is not stored in the library";
}

// --- What is refused: single mistakes.

TEST(ReadCharacter, InvalidJsonIsReportedByLineAndColumn) {
  EXPECT_THAT(Error("frame,time,a.x"), StartsWith("c.json: this is not a JSON file"));
  EXPECT_EQ(Error(""), "c.json: the file is empty; name a JSON file");
  EXPECT_THAT(Error(File().substr(0, 60)), StartsWith("c.json:1:"));
  EXPECT_THAT(Error(File() + "x"), StartsWith("c.json:1:"));
}

TEST(ReadCharacter, AnythingButAnObjectIsRefused) {
  for (const std::string text : {"[]", "null", "1", "\"mien character 1\"", "true"})
    EXPECT_EQ(Error(text), "c.json: a character is an object; begin with {") << text;
}

TEST(ReadCharacter, ReportsWhatAnEmptyObjectLacks) {
  EXPECT_THAT(
      Lines(Error("{}")),
      ElementsAre(
          "c.json:/format: this is not a character file of this version; write \"format\": "
          "\"mien character 1\"",
          "c.json:/name: the character has no name; write \"name\": \"...\"",
          "c.json:/parts: the character has no parts; write \"parts\": { \"face\": { \"shapes\": [...] } }",
          "c.json:/templates: no template of the face moves the character; write \"templates\": { "
          "\"Mouth\": { \"Open\": { \"SHAPE\": 1 } } }"));
}

TEST(ReadCharacter, EachMistakeIsReportedByItsPointer) {
  const std::string not_object = ": this is not an object; write { ... }";
  const std::string not_translation = ": this is not a translation; write [x, y, z]",
                    not_scale = ": this is not a scale; write [x, y, z]",
                    not_rotation =
                        ": this is not a rotation; write [x, y, z] in degrees, or a quaternion [x, y, z, w]",
                    zero_scale = ": a scale of 0; scale by another factor: a cluster may not vanish",
                    other_sign = ": the sign differs from the rest pose; scale by a factor above 0: "
                                 "between the two poses the cluster would vanish",
                    not_weight = ": this is not a weight; write a number",
                    unknown = ": this name is unknown; use one of: ",
                    no_shape = ": no part has a shape of this name; list it under \"shapes\" of a part",
                    not_range = ": these are not two numbers in order; write [LEAST, MOST]";
  const std::string rest = "/parts/face/clusters/rest/jaw";
  const auto pose = [](const std::string& transform, const std::string& at_rest = "{}") {
    return WithClusters(R"({ "rest": { "jaw": )" + at_rest + R"( }, "poses": { "a": { "jaw": )" + transform +
                        " } } }");
  };
  const std::pair<std::string, std::string> mistakes[] = {
      {File(kParts, kTemplates, R"("shapes": [])"),
       "/shapes" + unknown + "format, name, range, parts, templates, expressions"},
      // Parts and shapes.
      {File("{}", "{}"), "/parts: the character has no parts; name at least one, with its shapes"},
      {File(R"({ "p": { "shapes": [], "Shapes": [] } })", "{}"),
       "/parts/p/Shapes" + unknown + "shapes, clusters"},
      {File(R"({ "p": {} })", "{}"),
       "/parts/p/shapes: the part has no shapes; write \"shapes\": [\"NAME\", ...]"},
      {File(R"({ "p": { "shapes": {} } })", "{}"),
       "/parts/p/shapes: this is not a list of shape names; write [\"NAME\", ...]"},
      {File(R"({ "p": { "shapes": ["a", 1] } })", "{}"),
       "/parts/p/shapes/1: this is not a shape name; write it in quotes"},
      {File(R"({ "p": { "shapes": ["a", "b", "a"] } })", "{}"),
       "/parts/p/shapes/2: the shape \"a\" is already in the list; name it once"},
      {File(R"({ "p": { "shapes": ["a", "b"] }, "q": { "shapes": ["c", "b"] } })", "{}"),
       "/parts/q/shapes/1: the part \"p\" already has the shape \"b\"; name it once; templates find a "
       "shape only by its name"},
      // Clusters.
      {WithClusters("[]"), "/parts/face/clusters" + not_object},
      {WithClusters(R"({ "rest": { "c": {} }, "pose": {} })"),
       "/parts/face/clusters/pose" + unknown + "root, rest, poses"},
      {WithClusters("{}"),
       "/parts/face/clusters/rest: the clusters have no rest pose; write \"rest\": { \"CLUSTER\": {} }"},
      {WithClusters(R"({ "root": { "scale": [2, 2, 2] }, "rest": {}, "poses": { "a": {} } })"),
       "/parts/face/clusters/rest: the rest pose has no clusters; name them, or leave \"clusters\" out"},
      {WithClusters(R"({ "rest": [] })"), "/parts/face/clusters/rest" + not_object},
      {WithClusters(R"({ "rest": { "c": {} }, "root": [] })"), "/parts/face/clusters/root" + not_object},
      {WithClusters(R"({ "rest": { "c": {} }, "root": { "scale": [1, 0, 1] } })"),
       "/parts/face/clusters/root/scale" + zero_scale},
      {WithClusters(R"({ "rest": { "c": {} }, "poses": [] })"), "/parts/face/clusters/poses" + not_object},
      {WithClusters(R"({ "rest": { "c": {} }, "poses": { "a": [] } })"),
       "/parts/face/clusters/poses/a" + not_object},
      {WithClusters(R"({ "rest": { "c": {} }, "poses": { "x": {} } })"),
       "/parts/face/clusters/poses/x: the part \"face\" has no shape of this name; list it under \"shapes\" "
       "of the "
       "part"},
      {File(R"({ "p": { "shapes": ["a"] }, "q": { "shapes": ["b"], "clusters": { "rest": { "c": {} },
                 "poses": { "a": {} } } } })",
            "{}"),
       "/parts/q/clusters/poses/a: the part \"q\" has no shape of this name; list it under \"shapes\" of the "
       "part"},
      {WithClusters(R"({ "rest": { "c": {} }, "poses": { "a": { "C": {} } } })"),
       "/parts/face/clusters/poses/a/C: the rest pose has no cluster of this name; add it under \"rest\""},
      // Transforms.
      {WithRest("[]"), rest + not_object},
      {WithRest(R"({ "position": [0, 0, 0] })"),
       rest + "/position" + unknown + "translation, rotation, scale"},
      {WithRest(R"({ "translation": [1, 2] })"), rest + "/translation" + not_translation},
      {WithRest(R"({ "translation": [1, 2, 3, 4] })"), rest + "/translation" + not_translation},
      {WithRest(R"({ "translation": [1, 2, true] })"), rest + "/translation" + not_translation},
      {WithRest(R"({ "translation": { "x": 1, "y": 2, "z": 3 } })"), rest + "/translation" + not_translation},
      {WithRest(R"({ "rotation": [1, 2] })"), rest + "/rotation" + not_rotation},
      {WithRest(R"({ "rotation": [1, 2, 3, 4, 5] })"), rest + "/rotation" + not_rotation},
      {WithRest(R"({ "rotation": [1, 2, "3"] })"), rest + "/rotation" + not_rotation},
      {WithRest(R"({ "rotation": [0, 0, 0, false] })"), rest + "/rotation" + not_rotation},
      {WithRest(R"({ "rotation": [0, 0, 0, 0] })"), rest + "/rotation" + not_rotation},
      {WithRest(R"({ "rotation": [0, -0.0, 0.0, 1e-400] })"), rest + "/rotation" + not_rotation},
      {WithRest(R"({ "rotation": 90 })"), rest + "/rotation" + not_rotation},
      {WithRest(R"({ "scale": 2 })"), rest + "/scale" + not_scale},
      {WithRest(R"({ "scale": [1, 1] })"), rest + "/scale" + not_scale},
      {WithRest(R"({ "scale": [1, 1, null] })"), rest + "/scale" + not_scale},
      {WithRest(R"({ "scale": [1, 0, 1] })"), rest + "/scale" + zero_scale},
      {WithRest(R"({ "scale": [-0.0, 1, 1] })"), rest + "/scale" + zero_scale},
      {WithRest(R"({ "scale": [1, 1, 1e-400] })"), rest + "/scale" + zero_scale},
      {pose(R"({ "scale": [1, 1, 0] })"), "/parts/face/clusters/poses/a/jaw/scale" + zero_scale},
      {pose(R"({ "scale": [1, -1, 1] })"), "/parts/face/clusters/poses/a/jaw/scale" + other_sign},
      {pose(R"({ "scale": [1, 1, 1] })", R"({ "scale": [1, 1, -1] })"),
       "/parts/face/clusters/poses/a/jaw/scale" + other_sign},
      {pose(R"({ "scale": [-1, -1, -1] })"), "/parts/face/clusters/poses/a/jaw/scale" + other_sign},
      {pose(R"({ "turn": [] })"),
       "/parts/face/clusters/poses/a/jaw/turn" + unknown + "translation, rotation, scale"},
      // Templates.
      {File(kParts, "[]"), "/templates" + not_object},
      {File(kParts, R"({ "Mouth": [] })"), "/templates/Mouth" + not_object},
      {File(kParts, R"({ "mouth": {} })"),
       "/templates/mouth" + unknown +
           "Mouth, LeftBrow, RightBrow, LeftEye, RightEye, LeftCheek, RightCheek, LeftNostril, RightNostril"},
      {File(kParts, R"({ "LeftEye": { "close": {} } })"),
       "/templates/LeftEye/close" + unknown + "Close, Squint, WideOpen"},
      {File(kParts, R"({ "LeftEye": { "Open": { "a": 1 } } })"),
       "/templates/LeftEye/Open" + unknown + "Close, Squint, WideOpen"},
      {File(kParts, R"({ "LeftEye": { "Close": 1 } })"), "/templates/LeftEye/Close" + not_object},
      {File(kParts, R"({ "LeftEye": { "Close": { "A": 1 } } })"), "/templates/LeftEye/Close/A" + no_shape},
      {File(kParts, R"({ "LeftEye": { "Close": { "a": "1" } } })"),
       "/templates/LeftEye/Close/a" + not_weight},
      {File(kParts, R"({ "LeftEye": { "Close": { "a": true } } })"),
       "/templates/LeftEye/Close/a" + not_weight},
      {File(kParts, R"({ "LeftEye": { "Close": { "a": 1, "a": 1 } } })"),
       "/templates/LeftEye/Close/a: this key is in the object twice; keep one of them"},
      // Expressions.
      {WithExpressions("[]"), "/expressions" + not_object},
      {WithExpressions(R"({ "E": 1 })"), "/expressions/E" + not_object},
      {WithExpressions(R"({ "E": { "template": {} } })"),
       "/expressions/E/template" + unknown + "templates, shapes"},
      {WithExpressions(R"({ "E": { "templates": [] } })"), "/expressions/E/templates" + not_object},
      {WithExpressions(R"({ "E": { "templates": { "Mouth": { "Open": { "a": 1 } } } } })"),
       "/expressions/E/templates/Mouth/Open" + not_weight},
      {WithExpressions(R"({ "E": { "templates": { "Mouth": { "Shut": 1 } } } })"),
       "/expressions/E/templates/Mouth/Shut" + unknown +
           "Open, Whistle, CornersUpR, CornersUpL, CornersDownR, CornersDownL, Square"},
      {WithExpressions(R"({ "E": { "templates": { "Mouth": { "Open": true } } } })"),
       "/expressions/E/templates/Mouth/Open" + not_weight},
      {WithExpressions(R"({ "E": { "shapes": [] } })"), "/expressions/E/shapes" + not_object},
      {WithExpressions(R"({ "E": { "shapes": { "x": 1 } } })"), "/expressions/E/shapes/x" + no_shape},
      {WithExpressions(R"({ "E": { "shapes": { "a": null } } })"), "/expressions/E/shapes/a" + not_weight},
      {WithExpressions(R"({ "Smile": {}, "smILE": {} })"),
       "/expressions/smILE: the name differs from \"Smile\" only in the case of its letters; give each "
       "expression a different name"},
      {WithExpressions(R"({ "E": {}, "E": {} })"),
       "/expressions/E: this key is in the object twice; keep one of them"},
      // The range.
      {File(kParts, kTemplates, R"("range": [1, 0])"), "/range" + not_range},
      {File(kParts, kTemplates, R"("range": [0])"), "/range" + not_range},
      {File(kParts, kTemplates, R"("range": [0, 1, 2])"), "/range" + not_range},
      {File(kParts, kTemplates, R"("range": [false, true])"), "/range" + not_range},
      {File(kParts, kTemplates, R"("range": ["0", "1"])"), "/range" + not_range},
      {File(kParts, kTemplates, R"("range": { "least": 0, "most": 1 })"), "/range" + not_range},
      {File(kParts, kTemplates, R"("range": null)"), "/range" + not_range},
  };
  for (const auto& [text, message] : mistakes) EXPECT_EQ(Error(text), "c.json:" + message) << text;
}

TEST(ReadCharacter, TheLimitsOfARangeMayBeEqual) {
  EXPECT_EQ(Error(File(kParts, kTemplates, R"("range": [0.5, 0.5])")), "no InputError");
}

// Names are stored in the library's texts, which end with a zero byte.
TEST(ReadCharacter, NamesHaveNoZeroByte) {
  const std::string zero = "name has a zero byte; use letters and digits";
  for (const std::string name : {R"(\u0000)", R"(\u0000Smile)", R"(Smile\u0000)"}) {
    EXPECT_THAT(Lines(Error(WithExpressions("{ \"" + name + "\": {} }"))),
                ElementsAre(AllOf(StartsWith("c.json:/expressions/"), EndsWith(": the expression " + zero))));
    EXPECT_THAT(Lines(Error(File("{ \"" + name + "\": { \"shapes\": [] } }", "{}"))),
                ElementsAre(AllOf(StartsWith("c.json:/parts/"), EndsWith(": the part " + zero))));
    EXPECT_EQ(Error(File(R"({ "p": { "shapes": [")" + name + R"("] } })", "{}")),
              "c.json:/parts/p/shapes/0: the shape " + zero);
    EXPECT_THAT(Lines(Error(WithClusters(R"({ "rest": { ")" + name + R"(": {} } })"))),
                ElementsAre(AllOf(StartsWith("c.json:/parts/face/clusters/rest/"),
                                  EndsWith(": the cluster " + zero))));
  }
}

TEST(ReadCharacter, PartsAndTemplatesOfTheFaceWithAZeroByteBehindAreUnknown) {
  EXPECT_THAT(Lines(Error(File(kParts, R"({ "Mouth\u0000": { "Open": { "a": 1 } } })"))),
              ElementsAre(StartsWith("c.json:/templates/Mouth?: this name is unknown")));
  EXPECT_THAT(Lines(Error(File(kParts, R"({ "Mouth": { "Open\u0000x": { "a": 1 } } })"))),
              ElementsAre(StartsWith("c.json:/templates/Mouth/Open?x: this name is unknown")));
}

TEST(ReadCharacter, PointersEscapeSlashesAndTildes) {
  const std::string file = R"({
    "format": "mien character 1", "name": "R",
    "parts": { "a/b": { "shapes": ["s~", "s~"],
                        "clusters": { "rest": { "c/d": { "scale": 1 } },
                                      "poses": { "s~": { "~/": {}, "c/d": { "x/y": 1 } } } } } },
    "templates": { "Mouth": { "Open": { "~1": 1 } } },
    "expressions": { "/~": [] }
  })";
  EXPECT_THAT(Lines(Error(file)),
              ElementsAre(StartsWith("c.json:/parts/a~1b/shapes/1: the shape \"s~\" is already in the list"),
                          StartsWith("c.json:/parts/a~1b/clusters/rest/c~1d/scale: this is not a scale"),
                          StartsWith("c.json:/parts/a~1b/clusters/poses/s~0/~0~1: the rest pose has no"),
                          StartsWith("c.json:/parts/a~1b/clusters/poses/s~0/c~1d/x~1y: this name is unknown"),
                          StartsWith("c.json:/templates/Mouth/Open/~01: no part has a shape"),
                          StartsWith("c.json:/expressions/~1~0: this is not an object")));
}

// --- What is refused: all at once.

TEST(ReadCharacter, ReportsAllMistakesTogether) {
  const std::string error = Error(R"({
    "format": "mien character 2",
    "name": 7,
    "name": "",
    "hat": 1,
    "range": [2, 1],
    "parts": {
      "face": { "shapes": ["a", "b", "a", 5, ""], "size": 3 },
      "jaw": {
        "shapes": ["c", "b"],
        "clusters": {
          "root": { "scale": [0, 1, 1] },
          "rest": { "bone": { "scale": [1, 0, 1], "translation": [1, 2] }, "chin": { "rotation": "x" } },
          "poses": {
            "a": { "bone": {} },
            "c": { "tooth": {}, "chin": { "scale": [1, 1, -1], "rotation": [0, 0, 0, 0] }, "bone": 1 }
          }
        }
      },
      "eyes": []
    },
    "templates": {
      "Nose": {},
      "Mouth": { "Opened": { "a": 1 }, "Open": { "a": "1", "z": 1, "c": 1 } },
      "LeftEye": []
    },
    "expressions": {
      "Smile": { "templates": { "Mouth": { "Grin": 1, "Open": "all" } }, "shapes": { "y": 1 } },
      "SMILE": 3,
      "Frown": { "weights": {} }
    }
  })");
  const std::vector<std::string> places = {
      "/name: this key is in the object twice",
      "/format: this is not a character file of this version",
      "/name: the character has no name",
      "/hat: this name is unknown",
      "/range: these are not two numbers in order",
      "/parts/face/size: this name is unknown",
      "/parts/face/shapes/2: the shape \"a\" is already in the list",
      "/parts/face/shapes/3: this is not a shape name",
      "/parts/face/shapes/4: the shape name has 0 bytes",
      "/parts/jaw/shapes/1: the part \"face\" already has the shape \"b\"",
      "/parts/jaw/clusters/root/scale: a scale of 0",
      "/parts/jaw/clusters/rest/bone/translation: this is not a translation",
      "/parts/jaw/clusters/rest/bone/scale: a scale of 0",
      "/parts/jaw/clusters/rest/chin/rotation: this is not a rotation",
      "/parts/jaw/clusters/poses/a: the part \"jaw\" has no shape of this name",
      "/parts/jaw/clusters/poses/c/tooth: the rest pose has no cluster of this name",
      "/parts/jaw/clusters/poses/c/chin/rotation: this is not a rotation",
      "/parts/jaw/clusters/poses/c/chin/scale: the sign differs",
      "/parts/jaw/clusters/poses/c/bone: this is not an object",
      "/parts/eyes: this is not an object",
      "/templates/Nose: this name is unknown",
      "/templates/Mouth/Opened: this name is unknown",
      "/templates/Mouth/Open/a: this is not a weight",
      "/templates/Mouth/Open/z: no part has a shape of this name",
      "/templates/LeftEye: this is not an object",
      "/expressions/Smile/templates/Mouth/Grin: this name is unknown",
      "/expressions/Smile/templates/Mouth/Open: this is not a weight",
      "/expressions/Smile/shapes/y: no part has a shape of this name",
      "/expressions/SMILE: the name differs from \"Smile\" only",
      "/expressions/SMILE: this is not an object",
      "/expressions/Frown/weights: this name is unknown",
  };
  std::vector<testing::Matcher<std::string>> expected;
  for (const std::string& place : places) expected.emplace_back(StartsWith("c.json:" + place));
  EXPECT_THAT(Lines(error), testing::UnorderedElementsAreArray(expected));
  for (const std::string& line : Lines(error)) EXPECT_THAT(line, HasSubstr("; ")) << "a fix";
}

TEST(ReadCharacter, AllExceededLimitsAreReportedTogether) {
  std::string parts = "{ \"big\": { \"shapes\": " + Names(501, "s") + " }";
  for (int i = 1; i < 16; ++i) parts += ", \"p" + std::to_string(i) + "\": { \"shapes\": [] }";
  EXPECT_THAT(
      Lines(Error(File(parts + " }", "{}",
                       "\"expressions\": { " +
                           List(100, [](int i) { return "\"e" + std::to_string(i) + "\": {}"; }) + " }"))),
      ElementsAre("c.json:/parts: 16 parts; combine some: a character has at most 15",
                  "c.json:/parts/big/shapes: 501 shapes; move some to another part: a part has at most 500",
                  "c.json:/expressions: 100 expressions; leave some out: a character has at most 99"));
}

TEST(ReadCharacter, RefusesEveryWrongType) {
  const std::string values[] = {"null", "true", "1", "-1.5", "\"text\"", "[]", "{}", "[1]", "{\"x\": 1}"};
  struct Case {
    std::string pointer, before, after;
    std::set<std::string> fine; // of the values
  };
  const std::string open = File().substr(0, File().size() - 2) + ", ";
  const std::string part = R"({"format": "mien character 1", "name": "A", "templates": {}, "parts": {"p": )";
  const std::string clusters = part + R"({"shapes": ["a"], "clusters": )";
  const std::string templates =
      R"({"format": "mien character 1", "name": "A", "parts": )" + kParts + R"(, "templates": )";
  const Case cases[] = {
      {"/format", R"({"name": "A", "parts": )" + kParts + R"(, "templates": {}, "format": )", "}", {}},
      {"/name",
       R"({"format": "mien character 1", "templates": {}, "parts": )" + kParts + R"(, "name": )",
       "}",
       {"\"text\""}},
      {"/range", open + "\"range\": ", "}", {}},
      {"/range", open + "\"range\": [", ", 2]}", {"1", "-1.5"}},
      {"/parts", R"({"format": "mien character 1", "name": "A", "templates": {}, "parts": )", "}", {}},
      {"/parts/p", part, "}}", {}},
      {"/parts/p/shapes", part + R"({"shapes": )", "}}}", {"[]"}},
      {"/parts/p/shapes/0", part + R"({"shapes": [)", "]}}}", {"\"text\""}},
      {"/parts/p/clusters", clusters, "}}}", {}},
      {"/parts/p/clusters/root", clusters + R"({"rest": {"c": {}}, "root": )", "}}}}", {"{}"}},
      {"/parts/p/clusters/rest/c", clusters + R"({"rest": {"c": )", "}}}}}", {"{}"}},
      {"/parts/p/clusters/rest/c/translation",
       clusters + R"({"rest": {"c": {"translation": [1, )",
       ", 3]}}}}}}",
       {"1", "-1.5"}},
      {"/parts/p/clusters/rest/c/rotation",
       clusters + R"({"rest": {"c": {"rotation": [1, )",
       ", 3]}}}}}}",
       {"1", "-1.5"}},
      {"/parts/p/clusters/rest/c/rotation",
       clusters + R"({"rest": {"c": {"rotation": [1, )",
       ", 3, 4]}}}}}}",
       {"1", "-1.5"}},
      {"/parts/p/clusters/rest/c/scale",
       clusters + R"({"rest": {"c": {"scale": [1, )",
       ", 3]}}}}}}",
       {"1", "-1.5"}},
      {"/parts/p/clusters/poses", clusters + R"({"rest": {"c": {}}, "poses": )", "}}}}", {"{}"}},
      {"/parts/p/clusters/poses/a", clusters + R"({"rest": {"c": {}}, "poses": {"a": )", "}}}}}", {"{}"}},
      {"/parts/p/clusters/poses/a/c",
       clusters + R"({"rest": {"c": {}}, "poses": {"a": {"c": )",
       "}}}}}}",
       {"{}"}},
      {"/templates", templates, "}", {"{}"}},
      {"/templates/Mouth", templates + R"({"Mouth": )", "}}", {"{}"}},
      {"/templates/Mouth/Open", templates + R"({"Mouth": {"Open": )", "}}}", {"{}"}},
      {"/templates/Mouth/Open/a", templates + R"({"Mouth": {"Open": {"a": )", "}}}}", {"1", "-1.5"}},
      {"/expressions", open + "\"expressions\": ", "}", {"{}"}},
      {"/expressions/E", open + R"("expressions": {"E": )", "}}", {"{}"}},
      {"/expressions/E/templates", open + R"("expressions": {"E": {"templates": )", "}}}", {"{}"}},
      {"/expressions/E/templates/Mouth",
       open + R"("expressions": {"E": {"templates": {"Mouth": )",
       "}}}}",
       {"{}"}},
      {"/expressions/E/templates/Mouth/Open",
       open + R"("expressions": {"E": {"templates": {"Mouth": {"Open": )",
       "}}}}}",
       {"1", "-1.5"}},
      {"/expressions/E/shapes", open + R"("expressions": {"E": {"shapes": )", "}}}", {"{}"}},
      {"/expressions/E/shapes/a", open + R"("expressions": {"E": {"shapes": {"a": )", "}}}}", {"1", "-1.5"}},
  };
  for (const Case& test : cases)
    for (const std::string& value : values) {
      const std::string text = test.before + value + test.after;
      if (test.fine.contains(value))
        EXPECT_EQ(Error(text), "no InputError") << text;
      else
        EXPECT_THAT(Error(text), StartsWith("c.json:" + test.pointer)) << text;
    }
}

TEST(ReadCharacter, ADuplicateKeyIsAMistakeAnywhere) {
  for (const auto& [text, pointer] : {
           std::pair(File(R"({ "p": { "shapes": [] }, "p": { "shapes": [] } })", "{}"), "/parts/p"),
           std::pair(File(R"({ "p": { "shapes": [], "shapes": [] } })", "{}"), "/parts/p/shapes"),
           std::pair(WithClusters(R"({ "rest": { "c": {}, "c": {} } })"), "/parts/face/clusters/rest/c"),
           std::pair(WithClusters(R"({ "rest": { "c": {} }, "poses": { "a": { "c": {}, "c": {} } } })"),
                     "/parts/face/clusters/poses/a/c"),
           std::pair(WithClusters(R"({ "rest": { "c": {} }, "poses": { "a": {}, "a": {} } })"),
                     "/parts/face/clusters/poses/a"),
           std::pair(WithRest(R"({ "scale": [1, 1, 1], "scale": [1, 1, 1] })"),
                     "/parts/face/clusters/rest/jaw/scale"),
           std::pair(File(kParts, R"({ "Mouth": {}, "Mouth": {} })"), "/templates/Mouth"),
           std::pair(File(kParts, R"({ "Mouth": { "Open": {}, "Open": {} } })"), "/templates/Mouth/Open"),
       })
    EXPECT_EQ(Error(text),
              std::string("c.json:") + pointer + ": this key is in the object twice; keep one of them");
}

TEST(ReadCharacter, RefusesNumbersBeyondTheRangeOfDoubles) {
  for (const std::string number : {"1e999", "-1e999"}) {
    EXPECT_THAT(Error(File(kParts, R"({ "Mouth": { "Open": { "a": )" + number + " } } }")),
                StartsWith("c.json:1:"));
    EXPECT_THAT(Error(WithRest(R"({ "translation": [0, 0, )" + number + "] }")), StartsWith("c.json:1:"));
  }
}

TEST(ReadCharacter, DeepNestingAnywhereIsAMistakeAndNotACrash) {
  const auto deep = [](const std::string& open, const std::string& inner, const std::string& close) {
    std::string text;
    for (int i = 0; i < 240; ++i) text += open;
    text += inner;
    for (int i = 0; i < 240; ++i) text += close;
    return text;
  };
  for (const std::string& value : {deep("[", "", "]"), deep("{\"a\":", "1", "}")}) {
    EXPECT_THAT(Error(File(value, "{}")), StartsWith("c.json:/parts"));
    EXPECT_THAT(Error(File(R"({ "p": { "shapes": )" + value + " } }", "{}")),
                StartsWith("c.json:/parts/p/shapes"));
    EXPECT_THAT(Error(File(kParts, value)), StartsWith("c.json:/templates"));
    EXPECT_THAT(Error(File(kParts, R"({ "Mouth": { "Open": )" + value + " } }")),
                StartsWith("c.json:/templates/Mouth/Open"));
    EXPECT_THAT(Error(WithClusters(value)), StartsWith("c.json:/parts/face/clusters"));
    EXPECT_THAT(Error(WithRest(value)), StartsWith("c.json:/parts/face/clusters/rest/jaw"));
    EXPECT_THAT(Error(WithExpressions(value)), StartsWith("c.json:/expressions"));
    EXPECT_THAT(Error(File(kParts, kTemplates, "\"range\": " + value)), StartsWith("c.json:/range"));
  }
}

TEST(ReadCharacter, TheFilesTextCannotControlTheTerminal) {
  const std::string error = Error(File(R"({ "\u001b[2J": { "shapes": ["\u001b[3J\n", "\u001b[3J\n"] },
                                            "q": { "shapes": ["\u001b[3J\n"] } })",
                                       R"({ "\u001b[4J": {} })", R"("expressions": { "\u001b[5J\r": [] })"));
  EXPECT_THAT(Lines(error), testing::SizeIs(4));
  EXPECT_THAT(error, Not(HasSubstr("\x1B")));
  EXPECT_THAT(error, Not(HasSubstr("\r")));
}

TEST(ReadCharacter, ReadsDecimalPointsInAnyLocale) {
  const DecimalComma german;
  EXPECT_EQ(ReadTransform(R"({ "translation": [1234.5, 0.25, -1000000] })").translation,
            At(1234.5, 0.25, -1000000));
}

// --- What is written.

TEST(WriteCharacter, ReadsBackTheSame) {
  const Character character = Read(R"({
    "format": "mien character 1", "name": "眉 \"the\" 1st\t\u0001", "range": [-0.1, 1.7976931348623157e308],
    "parts": {
      "face": { "shapes": ["z", "a/b", "ä\"\\~\n"] },
      "none": { "shapes": [] },
      "jaw": {
        "shapes": ["drop", "side", "still"],
        "clusters": {
          "root": { "translation": [0.1, 1e22, -5e-324], "rotation": [10, 89.9999999, -179], "scale": [-1, 0.1, 1e-300] },
          "rest": { "z/": { "rotation": [1, 2, 3, 4], "scale": [-2, 3, 0.3333333333333333] }, "a": {} },
          "poses": { "side": {}, "drop": { "z/": { "rotation": [0, 90, 0] }, "a": { "rotation": [0, -90, 45] } } }
        }
      }
    },
    "templates": { "RightNostril": { "Up": { "z": 0.1, "drop": -1e-300 } },
                   "Mouth": { "Whistle": { "ä\"\\~\n": 3, "a/b": 0 }, "Open": {} } },
    "expressions": {
      "Both": { "templates": { "Mouth": { "Whistle": 0.1, "Open": 0 }, "LeftBrow": { "Down": -2 } }, "shapes": { "side": 1, "z": 0.3 } },
      "a/\"b\"": {},
      "Shapes": { "shapes": { "z": 0 } }
    }
  })");
  const Character back = Read(Written(character));
  ExpectEqual(back, character);
  ExpectEqual(Read(Written(back)), character);
}

TEST(WriteCharacter, AllRotationsReadBack) {
  tests::Random random(8);
  Character character = Read(WithRest("{}"));
  for (int i = 0; i < 300; ++i) {
    // Including the poles, at which the first and the last angle turn about the same axis.
    const double middle = i % 3 == 0 ? 90 : i % 3 == 1 ? -90 : random.Between(-90, 90);
    character.parts[0].clusters[0].rest.rotation =
        Euler(random.Between(-180, 180), middle, random.Between(-180, 180));
    ExpectEqual(Read(Written(character)), character);
  }
}

TEST(WriteCharacter, IsReadableForPeople) {
  const Character character = Read(File(
      R"({ "face": { "shapes": ["a"] },
           "jaw": { "shapes": ["b", "c"], "clusters": {
             "rest": { "bone": { "translation": [1, 2.5, -3] }, "chin": {} },
             "poses": { "b": { "bone": { "scale": [2, 2, 2] } } } } } })",
      R"({ "LeftEye": { "Close": { "b": 1, "a": -0.5 } }, "Mouth": { "Open": { "a": 1 } } })",
      R"("range": [0, 1], "expressions": { "Smile": { "templates": { "Mouth": { "CornersUpL": 1, "Open": 0.5 } } } })"));
  EXPECT_EQ(Written(character), R"({
  "format": "mien character 1",
  "name": "Robot",
  "range": [0.0,1.0],
  "parts": {
    "face": {
      "shapes": ["a"]
    },
    "jaw": {
      "shapes": ["b","c"],
      "clusters": {
        "root": { "translation": [0.0,0.0,0.0], "rotation": [0.0,0.0,0.0], "scale": [1.0,1.0,1.0] },
        "rest": {
          "bone": { "translation": [1.0,2.5,-3.0], "rotation": [0.0,0.0,0.0], "scale": [1.0,1.0,1.0] },
          "chin": { "translation": [0.0,0.0,0.0], "rotation": [0.0,0.0,0.0], "scale": [1.0,1.0,1.0] }
        },
        "poses": {
          "b": {
            "bone": { "translation": [1.0,2.5,-3.0], "rotation": [0.0,0.0,0.0], "scale": [2.0,2.0,2.0] },
            "chin": { "translation": [0.0,0.0,0.0], "rotation": [0.0,0.0,0.0], "scale": [1.0,1.0,1.0] }
          }
        }
      }
    }
  },
  "templates": {
    "Mouth": {
      "Open": { "a": 1.0 }
    },
    "LeftEye": {
      "Close": { "b": 1.0, "a": -0.5 }
    }
  },
  "expressions": {
    "Smile": {
      "templates": { "Mouth": { "Open": 0.5, "CornersUpL": 1.0 } },
      "shapes": {}
    }
  }
}
)");
}

TEST(WriteCharacter, WritesDecimalPointsInAnyLocale) {
  const Character character =
      Read(WithClusters(R"({ "rest": { "c": { "translation": [1234.5, 0.25, -1000000] } } })"));
  const std::string written = Written(character);
  const DecimalComma german;
  EXPECT_EQ(Written(character), written);
  ExpectEqual(Read(written), character);
}

TEST(WriteCharacter, DoesNotDependOnTheStreamsFormat) {
  const Character character = LoadCharacter("arkit52");
  std::ostringstream out;
  out << std::hex << std::showpos;
  out.precision(2), out.fill('*'), out.width(5000);
  WriteCharacter(character, out);
  const std::string text = out.str();
  EXPECT_EQ(text.substr(text.find('{')), Written(character));
}

// --- Characters by name.

TEST(LoadCharacter, FindsTheBuiltInOnesByName) {
  EXPECT_THAT(mien::BuiltInCharacters(), ElementsAre("arkit52", "vrm1"));
  for (const std::string& name : mien::BuiltInCharacters()) {
    const Character character = LoadCharacter(name);
    EXPECT_EQ(character.name, name);
    EXPECT_EQ(character.file, name);
    ExpectEqual(Read(Written(character)), character);
  }
}

TEST(LoadCharacter, ListsTheBuiltInOnesIfThereIsNoFile) {
  EXPECT_EQ(
      InputErrorOf([] { LoadCharacter("no such/character.json"); }),
      "no such/character.json: there is no character of this name and no such file; name a character file, "
      "or one of the built-in ones: arkit52, vrm1");
  EXPECT_THAT(InputErrorOf([] { LoadCharacter(""); }), Not(EndsWith("no InputError")));
}

TEST_F(CharacterFiles, AreFoundByTheirPath) {
  const auto path = Write("robot.json", File());
  const Character character = LoadCharacter(path);
  EXPECT_EQ(character.name, "Robot");
  EXPECT_EQ(character.file, path.string());
  const auto broken = Write("broken.json", File("{}"));
  EXPECT_THAT(InputErrorOf([&] { LoadCharacter(broken); }), StartsWith(broken.string() + ":/parts: "));
  EXPECT_THAT(InputErrorOf([&] { LoadCharacter(folder_); }), StartsWith(folder_.string() + ": "));
}
