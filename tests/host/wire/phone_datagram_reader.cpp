#include "host/wire/phone_datagram_reader.h"

#include "tests/host/wire/packets.h"

#include <numbers>

namespace mien {

namespace {

using Datagrams = ReadFrames<PhoneDatagramReader>;

constexpr double kRadians = std::numbers::pi / 180;

TEST(PhoneDatagramReader, ReadsJsonInAnyOrder) {
  Datagrams frames;
  frames.Read(PacketOf("phone.json"));
  ASSERT_EQ(frames.inputs.size(), 1U);
  ExpectAllWeights(frames);
  EXPECT_EQ(frames.Faults(), 0U);
  EXPECT_EQ(frames.inputs[0].source_s, 1.5);
  EXPECT_EQ(frames.inputs[0].head->pitch, 10 * kRadians);
  EXPECT_EQ(frames.inputs[0].head->yaw, 20 * kRadians);
  EXPECT_EQ(frames.inputs[0].head->roll, 30 * kRadians);
  EXPECT_EQ(*frames.inputs[0].eyes,
            (Eyes{EyeAngles{2 * kRadians, 1 * kRadians}, EyeAngles{4 * kRadians, 3 * kRadians}}));
}

TEST(PhoneDatagramReader, ReadsTextInHundredths) {
  Datagrams frames;
  frames.Read(PacketOf("phone.txt"));
  ASSERT_EQ(frames.inputs.size(), 1U);
  ExpectAllWeights(frames, 100);
  EXPECT_EQ(frames.Faults(), 1U); // trackingStatus is not a weight
  EXPECT_EQ(frames.inputs[0].head->yaw, 20 * kRadians);
  EXPECT_EQ((*frames.inputs[0].eyes)[0].yaw, 2 * kRadians); // the left eye's, which comes second
}

TEST(PhoneDatagramReader, TheLastHyphenSeparatesAndAWeightMayBeNegative) {
  Datagrams frames;
  frames.Read("jawOpen--5|eye-Blink-Left-50|");
  EXPECT_EQ(frames.Weight("jawOpen"), -0.05);
  EXPECT_EQ(frames.Weight("eyeBlinkLeft"), 0.5);
}

TEST(PhoneDatagramReader, AFaceThatIsNotFoundIsLost) {
  Datagrams frames;
  frames.Read(R"({"FaceFound":false})");
  ASSERT_EQ(frames.inputs.size(), 1U);
  EXPECT_TRUE(frames.inputs[0].lost);
}

TEST(PhoneDatagramReader, WhatIsNeitherIsAFault) {
  Datagrams frames;
  for (const char* packet : {"", "{", "{\"BlendShapes\":3}", "{}", "hello", "jawOpen-x",
                             "{\"BlendShapes\":[]} x", "{\"BlendShapes\":[{\"k\":3"})
    frames.Read(packet);
  EXPECT_TRUE(frames.inputs.empty());
  EXPECT_EQ(frames.Faults(), 8U);
}

TEST(PhoneDatagramReader, NamesWithoutEndDoNotFillTheMemory) {
  Datagrams frames;
  for (int i = 0; i < 5000; ++i)
    frames.Read("name" + std::string(static_cast<std::size_t>(i % 600), 'x') + "-1|");
  EXPECT_EQ(frames.Faults(), 5000U);
}

TEST(PhoneDatagramReader, DamagedPacketsAreCounted) {
  ReadDamaged<PhoneDatagramReader>(PacketOf("phone.json").substr(0, 400) + "]}");
  ReadDamaged<PhoneDatagramReader>(PacketOf("phone.txt"));
}

} // namespace

} // namespace mien
