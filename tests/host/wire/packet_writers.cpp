// What is written is read back, and is as other programs have to find it.

#include "host/weights/head_angles.h"
#include "host/wire/line_reader.h"
#include "host/wire/line_writer.h"
#include "host/wire/osc_array_reader.h"
#include "host/wire/osc_array_writer.h"
#include "host/wire/osc_writer.h"
#include "host/wire/phone_packet_reader.h"
#include "host/wire/phone_packet_writer.h"
#include "host/wire/vmc_reader.h"
#include "host/wire/vmc_writer.h"
#include "tests/host/wire/packets.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace mien {

namespace {

AnimationLayout ArkitLayout() {
  AnimationLayout layout;
  layout.shapes.assign(kArkitNames.begin(), kArkitNames.end());
  return layout;
}

/// The weights of the packets that the Python script makes, a turned head and eyes.
LiveOutput SampleOutput() {
  LiveOutput output;
  output.frame = 3;
  output.time_s = 2.5;
  const std::vector<std::string> names = SortedNames();
  for (const std::string_view name : kArkitNames)
    output.shapes.push_back(
        static_cast<double>(std::find(names.begin(), names.end(), name) - names.begin() + 1) / kShare);
  output.weights.assign(TemplateColumns().size(), 0.25);
  output.head_motion = RotationBy(HeadAngles{.yaw = 0.25, .pitch = -0.125, .roll = 0.0625});
  output.eyes = Eyes{EyeAngles{-0.5, 0.25}, EyeAngles{0.5, 0.375}};
  output.face_seen = true;
  output.presence = 1;
  return output;
}

std::vector<std::string> Written(PacketWriter& writer, const LiveOutput& output) {
  std::vector<std::string> packets;
  writer.Write(output, [&](std::string_view packet) { packets.emplace_back(packet); });
  return packets;
}

template <class Reader>
void ExpectReadBack(PacketWriter& writer) {
  ReadFrames<Reader> frames;
  for (const std::string& packet : Written(writer, SampleOutput())) frames.Read(packet);
  ASSERT_EQ(frames.inputs.size(), 1U);
  EXPECT_EQ(frames.Faults(), 0U);
  ExpectAllWeights(frames);
  constexpr double kSingle = 1e-6;
  EXPECT_NEAR(frames.inputs[0].head.value().yaw, 0.25, kSingle);
  EXPECT_NEAR(frames.inputs[0].head.value().pitch, -0.125, kSingle);
  EXPECT_NEAR(frames.inputs[0].head.value().roll, 0.0625, kSingle);
  const Eyes eyes = frames.inputs[0].eyes.value();
  EXPECT_NEAR(eyes[0].yaw, -0.5, kSingle);
  EXPECT_NEAR(eyes[1].pitch, 0.375, kSingle);
}

TEST(PacketWriters, WhatIsWrittenIsReadBack) {
  const AnimationLayout layout = ArkitLayout();
  VmcWriter vmc(layout);
  ExpectReadBack<VmcReader>(vmc);
  PhonePacketWriter phone(layout, "ada");
  ExpectReadBack<PhonePacketReader>(phone);
  OscArrayWriter arrays(layout, "/mien");
  ExpectReadBack<OscArrayReader>(arrays);
  LineWriter lines(layout, "ada");
  ExpectReadBack<LineReader>(lines);
}

TEST(VmcWriter, SendsTwoDatagramsWithApplyLast) {
  VmcWriter writer(ArkitLayout());
  const std::vector<std::string> packets = Written(writer, SampleOutput());
  ASSERT_EQ(packets.size(), 2U);
  std::vector<std::string> addresses;
  OscReader reader;
  for (const std::string& packet : packets) {
    EXPECT_LE(packet.size(), kMostDatagram);
    EXPECT_FALSE(reader.Read(packet, [&](const OscMessage& m) { addresses.emplace_back(m.address); }));
  }
  EXPECT_EQ(std::count(addresses.begin(), addresses.end(), "/VMC/Ext/Blend/Val"), 52);
  EXPECT_EQ(std::count(addresses.begin(), addresses.end(), "/VMC/Ext/Blend/Apply"), 1);
  EXPECT_EQ(addresses.back(), "/VMC/Ext/Blend/Apply");
  EXPECT_EQ(addresses.front(), "/VMC/Ext/OK");
}

TEST(VmcWriter, PresetsHaveTheirNameOfBothVersions) {
  AnimationLayout layout;
  layout.shapes = {"happy", "aa", "blinkLeft", "surprised", "mine"};
  VmcWriter writer(layout);
  LiveOutput output = SampleOutput();
  output.shapes = {0.5, 0.25, 0.125, 0.75, 1};
  std::vector<std::pair<std::string, double>> weights;
  OscReader reader;
  for (const std::string& packet : Written(writer, output))
    EXPECT_FALSE(reader.Read(packet, [&](const OscMessage& m) {
      if (m.address == "/VMC/Ext/Blend/Val") weights.emplace_back(m.arguments[0].text, m.arguments[1].number);
    }));
  EXPECT_EQ(weights, (std::vector<std::pair<std::string, double>>{{"happy", 0.5},
                                                                  {"Joy", 0.5},
                                                                  {"aa", 0.25},
                                                                  {"A", 0.25},
                                                                  {"blinkLeft", 0.125},
                                                                  {"Blink_L", 0.125},
                                                                  {"surprised", 0.75},
                                                                  {"mine", 1}}));
}

TEST(PhonePacketWriter, CountsOfTheClockAre60ASecond) {
  PhonePacketWriter writer(ArkitLayout(), "ada");
  LiveOutput output = SampleOutput();
  output.timecode = Timecode{.count = 30 * 3600, .rate = {30, 1}};
  ReadFrames<PhonePacketReader> frames;
  frames.Read(Written(writer, output).at(0));
  EXPECT_EQ(frames.inputs.at(0).timecode->count, 60 * 3600 + 150);
  EXPECT_EQ(frames.inputs.at(0).timecode->fraction, 0);
}

TEST(PhonePacketWriter, AFaceThatIsGoneIsLost) {
  PhonePacketWriter writer(ArkitLayout(), "ada");
  LiveOutput output = SampleOutput();
  output.face_seen = false;
  output.presence = 0;
  ReadFrames<PhonePacketReader> frames;
  frames.Read(Written(writer, output).at(0));
  EXPECT_TRUE(frames.inputs.at(0).lost);
}

TEST(PacketWriters, NumbersThatSinglePrecisionDoesNotHoldAreZero) {
  LiveOutput output = SampleOutput();
  output.shapes[0] = std::nan("");
  output.shapes[1] = 1e300;
  VmcWriter writer(ArkitLayout());
  ReadFrames<VmcReader> frames;
  for (const std::string& packet : Written(writer, output)) frames.Read(packet);
  EXPECT_EQ(frames.Weight(std::string(kArkitNames[0])), 0);
  EXPECT_EQ(frames.Weight(std::string(kArkitNames[1])), 0);
}

TEST(LineWriter, WeightsReadBackToTheSameDouble) {
  LiveOutput output = SampleOutput();
  output.shapes[17] = 0.1 + 0.2;
  output.shapes[18] = 1.0 / 3;
  LineWriter writer(ArkitLayout(), "ada");
  ReadFrames<LineReader> frames;
  const std::vector<std::string> lines = Written(writer, output);
  EXPECT_EQ(lines.at(0).find('\n'), lines[0].size() - 1);
  frames.Read(lines[0]);
  EXPECT_EQ(frames.inputs.at(0).weights, output.shapes);
  EXPECT_EQ(frames.inputs[0].source_s, 2.5);
}

TEST(LineWriter, ClustersAreThoseOfTheOutputIfAskedFor) {
  AnimationLayout layout = ArkitLayout();
  layout.clusters = {{.part = "jaw", .name = "jawBone"}, {.part = "brows", .name = "browBone"}};
  LiveOutput output = SampleOutput();
  output.local.assign(2, {});
  output.global.assign(2, {});
  output.local[0].translation = {1.0 / 3, -4, 0.1 + 0.2};
  output.global[1].scale = {2, 1, 0.5};
  LineWriter without(layout, "ada"), writer(layout, "ada", true);
  EXPECT_EQ(Written(without, output).at(0).find("clusters"), std::string::npos);
  const std::string line = Written(writer, output).at(0);
  const nlohmann::json clusters = nlohmann::json::parse(line).at("clusters");
  ASSERT_EQ(clusters.size(), 2u);
  EXPECT_EQ(clusters[0].at("part"), "jaw");
  EXPECT_EQ(clusters[0].at("cluster"), "jawBone");
  EXPECT_EQ(clusters[0].at("local").at("translation"), (std::vector<double>{1.0 / 3, -4, 0.1 + 0.2}));
  EXPECT_EQ(clusters[0].at("local").at("rotation"), (std::vector<double>{0, 0, 0, 1}));
  EXPECT_EQ(clusters[1].at("global").at("scale"), (std::vector<double>{2, 1, 0.5}));
  ReadFrames<LineReader> frames;
  frames.Read(line);
  EXPECT_EQ(frames.inputs.at(0).weights, output.shapes) << "readers ignore them";
}

TEST(LineWriter, NamesCannotSteerATerminal) {
  AnimationLayout layout;
  layout.shapes = {"a\x1B[2J"};
  LineWriter writer(layout, "\x1B]0;x\x07\"\n");
  LiveOutput output = SampleOutput();
  output.shapes = {1};
  const std::string line = Written(writer, output).at(0);
  EXPECT_EQ(line.find('\x1B'), std::string::npos);
  EXPECT_EQ(line.find('\n'), line.size() - 1);
}

} // namespace

} // namespace mien
