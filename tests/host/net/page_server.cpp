#include "host/net/page_server.h"

#include "host/base/error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <future>
#include <httplib.h>
#include <string>
#include <thread>

using mien::PageServer;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using namespace std::chrono_literals;

/// Reads a stream of events until `enough`.
std::string ReadEvents(const PageServer& server, const std::string& path, const std::string& enough) {
  httplib::Client client("127.0.0.1", server.Port());
  client.set_read_timeout(60s);
  std::string text;
  client.Get(path, [&](const char* data, std::size_t size) {
    text.append(data, size);
    return text.find(enough) == text.npos;
  });
  return text;
}

void WaitForReaders(const PageServer& server, std::size_t count) {
  const auto end = std::chrono::steady_clock::now() + 60s;
  while (server.Readers() != count && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(1ms);
  EXPECT_EQ(server.Readers(), count);
}

} // namespace

TEST(PageServer, ServesThePageAndItsEventsInOrder) {
  PageServer server("127.0.0.1", 0);
  std::string events;
  server.SetPage([&](const std::string& path) {
    events = path;
    return std::string("<p>live</p>");
  });
  httplib::Client client("127.0.0.1", server.Port());
  const auto page = client.Get("/");
  ASSERT_TRUE(page);
  EXPECT_EQ(page->body, "<p>live</p>");
  EXPECT_EQ(page->get_header_value("Content-Type"), "text/html; charset=utf-8");
  EXPECT_EQ(page->get_header_value("Cache-Control"), "no-store");

  std::string text;
  std::thread reader([&] { text = ReadEvents(server, "/" + events, "\"last\""); });
  WaitForReaders(server, 1);
  for (int i = 0; i < 100; ++i) server.Send("frame", std::to_string(i));
  server.Send("status", "\"last\"");
  reader.join();
  std::string expected;
  for (int i = 0; i < 100; ++i) expected += "event: frame\ndata: " + std::to_string(i) + "\n\n";
  EXPECT_THAT(text, HasSubstr(expected + "event: status\ndata: \"last\"\n\n"));
  EXPECT_THAT(text, Not(HasSubstr("layout")));
}

TEST(PageServer, APageBeforeTheLastOneHasToLoadAgain) {
  PageServer server("127.0.0.1", 0);
  std::string first;
  server.SetPage([&](const std::string& path) {
    first = path;
    return std::string("one");
  });
  server.SetPage([](const std::string&) { return std::string("two"); });
  EXPECT_THAT(ReadEvents(server, "/" + first, "layout"), HasSubstr("event: layout\ndata: {}\n\n"));
  httplib::Client client("127.0.0.1", server.Port());
  EXPECT_EQ(client.Get("/")->body, "two");
}

TEST(PageServer, ABrowserThatIsGoneIsForgottenAndTooManyAreRefused) {
  PageServer server("127.0.0.1", 0);
  server.SetPage([](const std::string&) { return std::string("page"); });
  {
    std::vector<std::thread> readers;
    for (std::size_t i = 0; i < PageServer::kMostReaders; ++i)
      readers.emplace_back([&] { ReadEvents(server, "/events?page=1", "\"end\""); });
    WaitForReaders(server, PageServer::kMostReaders);
    httplib::Client client("127.0.0.1", server.Port());
    EXPECT_EQ(client.Get("/events?page=1")->status, 503);
    EXPECT_EQ(client.Get("/")->status, 200) << "pages are still served";
    server.Send("status", "\"end\"");
    for (std::thread& reader : readers) reader.join();
  }
  WaitForReaders(server, 0);
}

TEST(PageServer, EndsWhileBrowsersListen) {
  std::string text;
  std::promise<void> begun;
  std::thread reader;
  {
    PageServer server("127.0.0.1", 0);
    server.SetPage([](const std::string&) { return std::string("page"); });
    reader = std::thread([&text, &begun, port = server.Port()] {
      httplib::Client client("127.0.0.1", port);
      client.Get("/events?page=1", [&](const char* data, std::size_t size) {
        if (text.empty()) begun.set_value();
        text.append(data, size);
        return true;
      });
    });
    begun.get_future().wait();
    EXPECT_EQ(server.Readers(), 1U);
  }
  reader.join();
  EXPECT_THAT(text, StartsWith(":\n\n"));
}

TEST(PageServer, AnswersOnlyToThisMachinesAddressesAndName) {
  PageServer server("127.0.0.1", 0);
  server.SetPage([](const std::string&) { return std::string("page"); });
  httplib::Client client("127.0.0.1", server.Port());
  const auto status = [&](const std::string& host) {
    const auto answer = client.Get("/", {{"Host", host}});
    return answer ? answer->status : 0;
  };
  const std::string port = ":" + std::to_string(server.Port());
  EXPECT_EQ(status("127.0.0.1" + port), 200);
  EXPECT_EQ(status("localhost" + port), 200);
  EXPECT_EQ(status("[::1]" + port), 200);
  EXPECT_EQ(status("elsewhere.example" + port), 403);
  EXPECT_EQ(status(""), 403);
  EXPECT_EQ(client.Get("/other")->status, 404);
  EXPECT_EQ(client.Post("/", std::string(100000, 'x'), "text/plain")->status, 413);
}

TEST(PageServer, APortInUseIsAnError) {
  const PageServer server("127.0.0.1", 0);
  try {
    const PageServer second("127.0.0.1", server.Port());
    ADD_FAILURE() << "both listen on one port";
  } catch (const mien::InputError& error) {
    EXPECT_THAT(error.what(), HasSubstr("127.0.0.1 port " + std::to_string(server.Port())));
    EXPECT_THAT(error.what(), HasSubstr("in use"));
  }
}
