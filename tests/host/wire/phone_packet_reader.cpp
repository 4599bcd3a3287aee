#include "host/wire/phone_packet_reader.h"

#include "tests/host/wire/packets.h"

namespace mien {

namespace {

using Phone = ReadFrames<PhonePacketReader>;

TEST(PhonePacketReader, ReadsEachWeightByItsPlaceInThePacket) {
  Phone frames;
  frames.Read(PacketOf("phone.bin"), 7.5);
  ASSERT_EQ(frames.inputs.size(), 1U);
  ExpectAllWeights(frames);
  EXPECT_EQ(frames.Faults(), 0U);
  const LiveInput& input = frames.inputs[0];
  EXPECT_EQ(frames.reader.Faces()[input.face].name, "Zo\xC3\xAB");
  EXPECT_EQ(input.arrival_s, 7.5);
  EXPECT_FALSE(input.lost);
}

TEST(PhonePacketReader, ReadsTimecodeAndAngles) {
  Phone frames;
  frames.Read(PacketOf("phone.bin"));
  const LiveInput& input = frames.inputs.at(0);
  EXPECT_EQ(input.timecode->count, 60 * 3600);
  EXPECT_EQ(input.timecode->fraction, 0.25);
  EXPECT_EQ(input.timecode->rate, (FrameRate{60, 1}));
  EXPECT_EQ(input.head->yaw, 0.25);
  EXPECT_EQ(input.head->pitch, -0.125);
  EXPECT_EQ(input.head->roll, 0.0625);
  EXPECT_EQ(*input.eyes,
            (Eyes{EyeAngles{-0.5, 0.25}, EyeAngles{0.5, 0.375}})); // a packet's yaw is to the right
}

TEST(PhonePacketReader, APacketThatEndsBehindTheNameSaysThatTheFaceIsLost) {
  Phone frames;
  frames.Read(PacketOf("phone_lost.bin"));
  ASSERT_EQ(frames.inputs.size(), 1U);
  EXPECT_TRUE(frames.inputs[0].lost);
  EXPECT_EQ(frames.Faults(), 0U);
}

TEST(PhonePacketReader, TheNumberOfValuesIsWhatThePacketHas) {
  Phone frames;
  frames.Read(PacketOf("phone_short.bin")); // 51 of 61 values
  ASSERT_EQ(frames.inputs.size(), 1U);
  EXPECT_EQ(frames.inputs[0].weights.size(), 51U);
  EXPECT_FALSE(frames.inputs[0].head);
  ASSERT_EQ(frames.reader.FaultCounts().size(), 1U);
  EXPECT_EQ(frames.reader.FaultCounts()[0].first, "fewer values than stated");
}

TEST(PhonePacketReader, MoreValuesThan61AreNotRead) {
  Phone frames;
  std::string packet = PacketOf("phone.bin");
  packet[45 + 4 + 16] = '\xFF'; // the count, behind a name of four bytes
  packet += std::string(4 * (255 - 61), '\x7F');
  frames.Read(packet);
  ASSERT_EQ(frames.inputs.size(), 1U);
  ExpectAllWeights(frames);
}

TEST(PhonePacketReader, AnotherVersionIsReadWhereItHasTheLayoutAndIsCounted) {
  Phone frames;
  std::string packet = PacketOf("phone.bin");
  packet[0] = 5;
  frames.Read(packet);
  EXPECT_EQ(frames.inputs.size(), 1U);
  EXPECT_EQ(frames.reader.FaultCounts().at(0),
            (std::pair<std::string_view, std::uint64_t>("a version other than 6", 1)));
}

TEST(PhonePacketReader, ANameBeyondThePacketIsAFault) {
  Phone frames;
  std::string packet = PacketOf("phone.bin");
  for (const char c : {'\x7F', '\xFF', '\x01'}) {
    packet[41] = c;
    frames.Read(packet);
  }
  EXPECT_TRUE(frames.inputs.empty());
  EXPECT_EQ(frames.reader.FaultCounts().at(0), (std::pair<std::string_view, std::uint64_t>("cut short", 3)));
}

TEST(PhonePacketReader, MoreFacesThanTheLimitAreCounted) {
  Phone frames;
  std::string packet = PacketOf("phone.bin");
  for (char c = 'a'; c <= 'z'; ++c) {
    packet[45] = c;
    frames.Read(packet);
  }
  EXPECT_EQ(frames.reader.Faces().size(), PacketReader::kMostFaces);
  EXPECT_EQ(frames.inputs.size(), PacketReader::kMostFaces);
  EXPECT_EQ(frames.Faults(), 26 - PacketReader::kMostFaces);
}

TEST(PhonePacketReader, DamagedPacketsAreCounted) { ReadDamaged<PhonePacketReader>(PacketOf("phone.bin")); }

} // namespace

} // namespace mien
