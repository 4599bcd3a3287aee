#include "host/wire/osc_array_reader.h"

#include "host/wire/osc_writer.h"
#include "tests/host/wire/packets.h"

namespace mien {

namespace {

using Arrays = ReadFrames<OscArrayReader>;

TEST(OscArrayReader, ReadsEachAddressInItsOwnOrder) {
  for (const char* packet : {"visage.bin", "blendshapes.bin"}) {
    Arrays frames;
    frames.Read(PacketOf(packet));
    ASSERT_EQ(frames.inputs.size(), 1U) << packet;
    ExpectAllWeights(frames);
    EXPECT_EQ(frames.Faults(), 0U);
  }
}

TEST(OscArrayReader, TheHeadTurnsToItsLeftByTheQuaternion) {
  Arrays frames;
  frames.Read(PacketOf("blendshapes.bin"));
  EXPECT_NEAR(frames.inputs.at(0).head.value().yaw, 0.5, 1e-6); // single precision
  EXPECT_EQ(frames.reader.Faces()[0].name, "/mpmocap");
}

TEST(OscArrayReader, AShortArrayIsMissingTheLastWeights) {
  Arrays frames;
  std::string packet;
  const float values[] = {0.5F, 0.25F};
  OscWriter::AppendFloats(packet, "/visage", values);
  frames.Read(packet);
  EXPECT_EQ(frames.inputs.at(0).weights, (std::vector<double>{0.5, 0.25}));
  EXPECT_EQ(frames.Faults(), 1U);
}

TEST(OscArrayReader, DamagedPacketsAreCounted) { ReadDamaged<OscArrayReader>(PacketOf("blendshapes.bin")); }

} // namespace

} // namespace mien
