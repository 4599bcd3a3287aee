#include "host/stream/osc_control.h"

#include "host/net/udp_sender.h"
#include "host/stream/live_stream.h"
#include "host/wire/osc_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A stream that nothing comes into, and its control.
class OscControlTest : public testing::Test {
protected:
  static LiveJob Job() {
    LiveJob job;
    job.sources = {ParseStreamSource("lines:0")};
    job.control_port = 0;
    return job;
  }

  void Send(std::string_view address, std::initializer_list<OscWriter::Argument> arguments = {}) {
    std::string packet;
    OscWriter::Append(packet, address, arguments);
    sender_.Send(packet);
  }

  /// Runs the stream until /mien/quit, which comes after everything that was sent.
  void RunToTheEnd() {
    Send("/mien/quit");
    bool is_late = false;
    loop_.At(EventLoop::Clock::now() + 60s, [&] {
      is_late = true;
      loop_.Stop();
    });
    loop_.Run();
    EXPECT_FALSE(is_late);
  }

  EventLoop loop_;
  std::vector<std::string> remarks_;
  LiveStream stream_{loop_, Job(), [this](const Note& note) { remarks_.push_back(note.what); }};
  UdpSender sender_{loop_, "127.0.0.1", stream_.ControlPort()};
};

TEST_F(OscControlTest, PausesTheStream) {
  Send("/mien/pause");
  RunToTheEnd();
  EXPECT_TRUE(stream_.IsPaused());
  EXPECT_THAT(remarks_, ElementsAre());
}

TEST_F(OscControlTest, WhatDoesNotExistIsARemark) {
  Send("/mien/neutral", {1});
  Send("/mien/neutral", {2});
  Send("/mien/performer", {1, 1});
  Send("/mien/record");
  RunToTheEnd();
  EXPECT_THAT(remarks_, ElementsAre("there is no source 2", "there is no performer 1",
                                    "no recording place was given; name one with --out record:PLACE"));
}

TEST_F(OscControlTest, OtherMessagesAreIgnored) {
  sender_.Send("not OSC");
  Send("/mien/pause/twice");
  Send("/mien/neutral", {std::string_view("all")});
  Send("/mien/neutral", {0});
  Send("/mien/neutral", {-1});
  Send("/mien/neutral", {2.0e9F});
  Send("/mien/performer");
  Send("/mien/performer", {1, std::string_view("all")});
  RunToTheEnd();
  EXPECT_FALSE(stream_.IsPaused());
  EXPECT_THAT(remarks_, ElementsAre());
}

} // namespace

} // namespace mien
