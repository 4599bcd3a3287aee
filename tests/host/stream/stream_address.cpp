#include "host/stream/stream_address.h"

#include "host/base/error.h"

#include <gtest/gtest.h>

#include <string>

namespace mien {

namespace {

TEST(StreamAddress, ReadsSources) {
  const StreamSource phone = ParseStreamSource("phone:11111");
  EXPECT_EQ(phone.kind, StreamSource::Kind::Phone);
  EXPECT_EQ(phone.port, 11111);
  EXPECT_TRUE(phone.IsDatagrams());
  EXPECT_EQ(ParseStreamSource("phone-json:0").kind, StreamSource::Kind::PhoneText);
  EXPECT_EQ(ParseStreamSource("lines:-").file, "-");
  EXPECT_EQ(ParseStreamSource("lines:5000").port, 5000);

  const StreamSource replay = ParseStreamSource("replay:C:/a b.csv?speed=2&loop");
  EXPECT_EQ(replay.file, "C:/a b.csv");
  EXPECT_EQ(replay.speed, 2);
  EXPECT_TRUE(replay.loop);
  EXPECT_EQ(ParseStreamSource("replay:what?.csv?speed=max").speed, 0);

  const StreamSource tracker = ParseStreamSource("tracker:11573?performer=ada.json&face=0&character=vrm1");
  EXPECT_EQ(tracker.performer, "ada.json");
  EXPECT_EQ(tracker.face, "0");
  EXPECT_EQ(tracker.character, "vrm1");
}

TEST(StreamAddress, ReadsSinks) {
  const StreamSink vmc = ParseStreamSink("vmc:127.0.0.1:39539?source=2");
  EXPECT_EQ(vmc.host, "127.0.0.1");
  EXPECT_EQ(vmc.port, 39539);
  EXPECT_EQ(vmc.source, 2U);
  EXPECT_EQ(ParseStreamSink("phone:[::1]:11111").host, "::1");
  EXPECT_EQ(ParseStreamSink("osc:studio:9000?address=/face/ada").address, "/face/ada");
  EXPECT_EQ(ParseStreamSink("page:8080").port, 8080);
  EXPECT_FALSE(ParseStreamSink("page:0").IsDatagrams());
  EXPECT_EQ(ParseStreamSink("lines:-").file, "-");
  EXPECT_FALSE(ParseStreamSink("lines:-").clusters);
  EXPECT_TRUE(ParseStreamSink("lines:out.jsonl?source=2&clusters").clusters);
  EXPECT_EQ(ParseStreamSink("record:shows/one").file, "shows/one");
}

TEST(StreamAddress, KnowsTheUsualPorts) {
  EXPECT_EQ(ParseStreamSource("phone").port, 11111);
  EXPECT_EQ(ParseStreamSource("phone-json").port, 49983);
  EXPECT_EQ(ParseStreamSource("tracker?performer=ada.json").port, 11573);
  EXPECT_EQ(ParseStreamSource("vmc").port, 39539);
  const StreamSink vmc = ParseStreamSink("vmc?source=2");
  EXPECT_EQ(vmc.host, "127.0.0.1");
  EXPECT_EQ(vmc.port, 39539);
  EXPECT_EQ(ParseStreamSink("phone").port, 11111);
  EXPECT_EQ(ParseStreamSink("page").port, 0);
  for (const char* text : {"osc", "lines", "replay"}) // have none
    EXPECT_THROW(ParseStreamSource(text), InputError) << text;
  for (const char* text : {"osc", "lines", "record"}) EXPECT_THROW(ParseStreamSink(text), InputError) << text;
}

TEST(StreamAddress, RefusesWhatCannotBeMeantAndSaysWhatCould) {
  for (const char* text :
       {"", "phone:", "phone:x", "phone:65536", "phone:-1", "fone:1", "replay:", "phone:1?loop",
        "replay:a?speed=0", "replay:a?speed=fast", "phone:1?performer", "lines:file.json"})
    EXPECT_THROW(ParseStreamSource(text), InputError) << text;
  for (const char* text : {"", "vmc:39539", "vmc::39539", "vmc:host:0", "vmc:host:x", "record:-",
                           "record:", "lines:", "vmc:h:1?source=0", "vmc:h:1?address=/x", "osc:h:1?address=x",
                           "page:", "page:host:8080", "vmc:h:1?clusters", "lines:-?clusters=1"})
    EXPECT_THROW(ParseStreamSink(text), InputError) << text;
  try {
    ParseStreamSource("fone:1");
    FAIL();
  } catch (const InputError& error) {
    EXPECT_EQ(error.Problems()[0].code, Code::Usage);
    EXPECT_NE(error.Problems()[0].fix.find("phone-json"), std::string::npos);
  }
}

} // namespace

} // namespace mien
