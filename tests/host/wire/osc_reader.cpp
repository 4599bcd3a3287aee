#include "host/wire/osc_reader.h"

#include "host/wire/byte_writer.h"
#include "host/wire/osc_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace mien {

namespace {

std::vector<std::string> AddressesIn(const std::string& packet, std::string_view* fault = nullptr) {
  std::vector<std::string> addresses;
  OscReader reader;
  const auto found =
      reader.Read(packet, [&](const OscMessage& message) { addresses.emplace_back(message.address); });
  if (fault) *fault = found.value_or("");
  return addresses;
}

std::string Bundle(const std::string& element) {
  std::string bundle("#bundle\0\0\0\0\0\0\0\0\1", 16);
  AppendBig(bundle, static_cast<std::uint32_t>(element.size()));
  return bundle + element;
}

TEST(OscReader, ReadsWhatTheWriterWrites) {
  std::string packet;
  OscWriter::Append(packet, "/a", {1, -2.5F, std::string_view("text"), std::string_view("")});
  OscReader reader;
  std::size_t messages = 0;
  EXPECT_FALSE(reader.Read(packet, [&](const OscMessage& message) {
    ++messages;
    ASSERT_EQ(message.arguments.size(), 4U);
    EXPECT_EQ(message.arguments[0].number, 1);
    EXPECT_EQ(message.arguments[1].number, -2.5);
    EXPECT_EQ(message.arguments[2].text, "text");
    EXPECT_EQ(message.arguments[3].text, "");
    EXPECT_TRUE(message.Begins("ffss"));
    EXPECT_FALSE(message.Begins("sfss"));
    EXPECT_FALSE(message.Begins("ffsss"));
  }));
  EXPECT_EQ(messages, 1U);
}

TEST(OscReader, ReadsAllTypesOfArguments) {
  std::string packet("/t\0\0,hdTFNItbcrm[i]\0", 20);
  AppendBig(packet, 0U), AppendBig(packet, 7U);         // h
  packet += std::string("\x3F\xF8\0\0\0\0\0\0", 8);     // d: 1.5
  packet += std::string(8, '\1');                       // t
  AppendBig(packet, 5U), packet += std::string(8, 'b'); // b, padded
  packet += std::string(12, '\2');                      // c, r, m
  AppendBig(packet, 9U);                                // i
  OscReader reader;
  std::vector<double> numbers;
  const auto fault = reader.Read(packet, [&](const OscMessage& message) {
    for (const OscArgument& argument : message.arguments)
      if (argument.IsNumber()) numbers.push_back(argument.number);
  });
  EXPECT_FALSE(fault) << *fault;
  EXPECT_EQ(numbers, (std::vector<double>{7, 1.5, 9}));
}

TEST(OscReader, AMessageWithoutTypesHasNoArguments) {
  EXPECT_EQ(AddressesIn(std::string("/old\0\0\0\0", 8)), std::vector<std::string>{"/old"});
}

TEST(OscReader, BundlesAreReadUpToTheDeepest) {
  std::string packet;
  OscWriter::Append(packet, "/a", {});
  for (std::size_t depth = 0; depth < kDeepestOscBundle; ++depth) packet = Bundle(packet);
  std::string_view fault;
  EXPECT_EQ(AddressesIn(packet, &fault).size(), 1U);
  EXPECT_EQ(fault, "");
  EXPECT_TRUE(AddressesIn(Bundle(packet), &fault).empty());
  EXPECT_EQ(fault, "bundles are nested too deep");
}

TEST(OscReader, SizesBeyondThePacketAreFaults) {
  std::string message;
  OscWriter::Append(message, "/a", {std::string_view("text")});
  std::string packet = Bundle(message);
  for (const char c : {'\x7F', '\xFF', '\x80'}) {
    packet[16] = c; // the element's size
    std::string_view fault;
    EXPECT_TRUE(AddressesIn(packet, &fault).empty());
    EXPECT_EQ(fault, "a bundle is cut short");
  }
  std::string blob("/b\0\0,b\0\0\xFF\xFF\xFF\xFF", 12);
  std::string_view fault;
  AddressesIn(blob, &fault);
  EXPECT_EQ(fault, "an argument is cut short");
}

TEST(OscReader, TooManyArgumentsAreAFault) {
  std::string packet("/a\0\0", 4);
  std::string types = "," + std::string(kMostOscArguments + 1, 'T');
  types.append(4 - types.size() % 4, '\0');
  std::string_view fault;
  EXPECT_TRUE(AddressesIn(packet + types, &fault).empty());
  EXPECT_EQ(fault, "a message has too many arguments");
}

TEST(OscBundles, AreAtMostADatagramAndKeepTheOrder) {
  OscBundles bundles;
  for (int i = 0; i < 200; ++i)
    bundles.Add("/VMC/Ext/Blend/Val", {std::string_view("mouthLowerDownRight"), static_cast<float>(i)});
  ASSERT_GT(bundles.Size(), 5U);
  int next = 0;
  for (std::size_t b = 0; b < bundles.Size(); ++b) {
    EXPECT_LE(bundles[b].size(), kMostDatagram);
    OscReader reader;
    EXPECT_FALSE(reader.Read(
        bundles[b], [&](const OscMessage& message) { EXPECT_EQ(message.arguments[1].number, next++); }));
  }
  EXPECT_EQ(next, 200);
  bundles.Clear();
  EXPECT_EQ(bundles.Size(), 0U);
}

} // namespace

} // namespace mien
