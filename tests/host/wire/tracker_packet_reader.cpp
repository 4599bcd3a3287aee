#include "host/wire/tracker_packet_reader.h"

#include "tests/host/wire/packets.h"

#include <cstring>

namespace mien {

namespace {

using Tracker = ReadFrames<TrackerPacketReader>;

std::optional<Point> MarkerOf(const Tracker& frames, const std::string& name) {
  const auto& names = frames.reader.Faces().at(frames.inputs.back().face).names;
  const auto at = std::find(names.begin(), names.end(), name) - names.begin();
  return frames.inputs.back().markers.at(static_cast<std::size_t>(at));
}

TEST(TrackerPacketReader, ReadsAFaceAfterTheOther) {
  Tracker frames;
  frames.Read(PacketOf("tracker.bin"));
  ASSERT_EQ(frames.inputs.size(), 2U);
  EXPECT_EQ(frames.Faults(), 0U);
  EXPECT_EQ(frames.reader.Faces()[0].name, "0");
  EXPECT_EQ(frames.reader.Faces()[1].name, "7");
  EXPECT_EQ(frames.inputs[0].source_s, 12.5);
  EXPECT_EQ(frames.inputs[0].markers.size(), 66U);
}

TEST(TrackerPacketReader, TheInnerCornersOfTheMouthAreLeftOutOf68) {
  Tracker frames;
  frames.Read(PacketOf("tracker.bin"));
  const std::vector<std::string>& names = frames.reader.Faces()[0].names;
  EXPECT_EQ(names[59], "lm59");
  EXPECT_EQ(names[60], "lm61");
  EXPECT_EQ(names[62], "lm63");
  EXPECT_EQ(names[63], "lm65");
  EXPECT_EQ(names[65], "lm67");
}

TEST(TrackerPacketReader, TheFaceIsInMillimetresWithXToItsLeftYUpAndZOutOfIt) {
  Tracker frames;
  frames.Read(PacketOf("tracker.bin"));
  const Point left = MarkerOf(frames, "lm45").value(), right = MarkerOf(frames, "lm36").value(),
              brow = MarkerOf(frames, "lm19").value(), nose = MarkerOf(frames, "lm30").value();
  EXPECT_NEAR(left.x - right.x, 88.918, 1e-3); // single precision
  EXPECT_NEAR(brow.y - left.y, 0.2 * 88.918, 1e-3);
  EXPECT_NEAR(nose.z - left.z, 0.4 * 88.918, 1e-3);
}

TEST(TrackerPacketReader, WithoutPointsInSpaceTheFaceIsLost) {
  Tracker frames;
  std::string packet = PacketOf("tracker.bin").substr(0, 1785);
  packet[28] = 0; // "got 3D"
  frames.Read(packet);
  ASSERT_EQ(frames.inputs.size(), 1U);
  EXPECT_TRUE(frames.inputs[0].lost);
}

TEST(TrackerPacketReader, PositionsThatAreNotNumbersAreMissing) {
  Tracker frames;
  const std::string whole = PacketOf("tracker.bin").substr(0, 1785);
  frames.Read(whole);
  std::string packet = whole;
  const std::size_t points = 1785 - 4 * (210 + 14);
  const float nan = std::nanf("");
  std::memcpy(&packet[points + 12 * 3], &nan, sizeof nan);
  frames.Read(packet);
  EXPECT_FALSE(MarkerOf(frames, "lm3"));
  EXPECT_TRUE(MarkerOf(frames, "lm4"));
}

TEST(TrackerPacketReader, APacketThatIsNotAMultipleOfAFaceIsAFault) {
  Tracker frames;
  frames.Read(PacketOf("tracker.bin").substr(0, 1785 + 100));
  EXPECT_EQ(frames.inputs.size(), 1U);
  EXPECT_EQ(frames.Faults(), 1U);
}

TEST(TrackerPacketReader, DamagedPacketsAreCounted) {
  ReadDamaged<TrackerPacketReader>(PacketOf("tracker.bin").substr(0, 1785));
}

} // namespace

} // namespace mien
