#include "host/wire/vmc_reader.h"

#include "host/wire/osc_writer.h"
#include "tests/host/wire/packets.h"

#include <cmath>
#include <numbers>

namespace mien {

namespace {

using Vmc = ReadFrames<VmcReader>;

TEST(VmcReader, WeightsHoldFromBundleToBundleAndAFrameEndsWithApply) {
  Vmc frames;
  frames.Read(PacketOf("vmc_first.bin"));
  EXPECT_TRUE(frames.inputs.empty());
  frames.Read(PacketOf("vmc_second.bin"));
  ASSERT_EQ(frames.inputs.size(), 1U);
  const std::vector<std::string> names = SortedNames();
  for (std::size_t i = 0; i < names.size(); ++i)
    EXPECT_EQ(frames.Weight(names[i]), static_cast<double>(static_cast<float>(i + 1) / 64)) << names[i];
  EXPECT_EQ(frames.inputs[0].source_s, 2.5);
  // Joy is none of the 52.
  EXPECT_EQ(frames.reader.FaultCounts().at(0),
            (std::pair<std::string_view, std::uint64_t>("weights with names other than the 52", 1)));
  frames.Read(PacketOf("vmc_second.bin"));
  EXPECT_EQ(frames.Weight("browDownLeft"), 1.0 / 64);
}

TEST(VmcReader, AHeadThatTurnsToItsLeftHasAPositiveYaw) {
  Vmc frames;
  frames.Read(PacketOf("vmc_first.bin"));
  frames.Read(PacketOf("vmc_second.bin"));
  const HeadAngles head = frames.inputs.at(0).head.value();
  EXPECT_NEAR(head.yaw * 180 / std::numbers::pi, 30, 1e-4); // single precision
  EXPECT_NEAR(head.pitch, 0, 1e-6);
  EXPECT_NEAR(head.roll, 0, 1e-6);
}

std::string Applied(std::string packet) {
  OscWriter::Append(packet, "/VMC/Ext/Blend/Apply", {});
  return packet;
}

std::string Turned(std::string_view bone, double x, double y, double z, double degrees) {
  const double half = degrees * std::numbers::pi / 360;
  const auto part = [&](double axis) { return static_cast<float>(axis * std::sin(half)); };
  std::string packet;
  OscWriter::Append(packet, "/VMC/Ext/Bone/Pos",
                    {bone, 0.0F, 0.0F, 0.0F, part(x), part(y), part(z), static_cast<float>(std::cos(half))});
  return packet;
}

TEST(VmcReader, TheNeckTurnsTheHeadToo) {
  Vmc frames;
  frames.Read(Turned("Neck", 0, -1, 0, 20));
  frames.Read(Turned("Head", 0, -1, 0, 10));
  frames.Read(Applied(""));
  EXPECT_NEAR(frames.inputs.at(0).head.value().yaw * 180 / std::numbers::pi, 30, 1e-4);
}

TEST(VmcReader, EyesLookWhereTheirBonesTurn) {
  Vmc frames;
  frames.Read(Turned("LeftEye", 0, -1, 0, 10)); // to the character's left
  frames.Read(Turned("RightEye", 1, 0, 0, 5));  // downward
  frames.Read(Applied(""));
  const Eyes eyes = frames.inputs.at(0).eyes.value();
  EXPECT_NEAR(eyes[0].yaw * 180 / std::numbers::pi, 10, 1e-4);
  EXPECT_NEAR(eyes[1].pitch * 180 / std::numbers::pi, 5, 1e-4);
}

TEST(VmcReader, APlaceToLookAtIsForBothEyes) {
  Vmc frames;
  std::string packet;
  OscWriter::Append(packet, "/VMC/Ext/Set/Eye",
                    {1, -1.0F, 0.0F, 1.0F}); // x is to the right: ahead and to the left
  frames.Read(packet);
  frames.Read(Applied(""));
  for (const EyeAngles& eye : frames.inputs.at(0).eyes.value())
    EXPECT_NEAR(eye.yaw * 180 / std::numbers::pi, 45, 1e-4);
}

TEST(VmcReader, IgnoresUnknownAddressesAndSurplusArguments) {
  Vmc frames;
  std::string packet;
  OscWriter::Append(packet, "/VMC/Ext/Cam", {std::string_view("a"), 1.0F});
  frames.Read(packet);
  packet.clear();
  OscWriter::Append(packet, "/VMC/Ext/Blend/Val", {std::string_view("JawOpen"), 0.5F, 7});
  frames.Read(packet);
  frames.Read(Applied(""));
  EXPECT_EQ(frames.Weight("jawOpen"), 0.5);
  EXPECT_EQ(frames.Faults(), 0U);
}

TEST(VmcReader, WrongTypesAndValuesAreFaults) {
  Vmc frames;
  std::string packet;
  OscWriter::Append(packet, "/VMC/Ext/Blend/Val", {1.0F, 1.0F});
  frames.Read(packet);
  packet.clear();
  OscWriter::Append(packet, "/VMC/Ext/Blend/Val", {std::string_view("jawOpen"), std::nanf("")});
  frames.Read(packet);
  frames.Read(Turned("Head", 0, 0, 0, 180)); // no rotation: all zeros
  EXPECT_EQ(frames.Faults(), 3U);
  frames.Read(Applied(""));
  EXPECT_TRUE(std::isnan(frames.Weight("jawOpen")));
}

TEST(VmcReader, DamagedPacketsAreCounted) { ReadDamaged<VmcReader>(PacketOf("vmc_second.bin")); }

} // namespace

} // namespace mien
