// vrel view: who is answered, and with what. How the page shows it is tried in a browser, in web/tests.

#include <atomic>
#include <cmath>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <kvex/File.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <stop_token>
#include <thread>

#include "support/Command.h"
#include "support/Golden.h"
#include "support/OddRuns.h"
#include "tool/Failure.h"
#include "tool/ViewServer.h"
#include "tool/ViewedFile.h"

namespace Kvex::Tool {

namespace {

using json = nlohmann::ordered_json;
using Support::dataPath;
using Support::runCommand;
using Support::scratchPath;
using testing::HasSubstr;
using testing::Not;

std::string spikePath() {
  static const std::string path = [] {
    const std::string made = scratchPath("view-spike.vrel");
    std::ofstream(made, std::ios::binary) << oddRuns()[0].bytes;
    return made;
  }();
  return path;
}

std::vector<std::unique_ptr<ViewedFile>> viewed(const std::vector<std::string>& paths) {
  std::vector<std::unique_ptr<ViewedFile>> files;
  for (const std::string& path : paths) files.push_back(std::make_unique<ViewedFile>(path, OpenOptions()));
  return files;
}

/// A server that runs for one test.
class ViewServerTest : public testing::Test {
 protected:
  ViewServerTest()
      : server_(viewed({spikePath(), dataPath("nav_recording_11.vrel")}), 0), client_("127.0.0.1", server_.port()) {
    thread_ = std::jthread([this] { server_.run(stop_.get_token()); });
    client_.set_default_headers({{"Host", host()}});
    for (int tries = 0; tries < 100 && !client_.Get("/"); ++tries) std::this_thread::yield();
  }
  ~ViewServerTest() override { stop_.request_stop(); }

  std::string host() const { return "127.0.0.1:" + std::to_string(server_.port()); }
  std::string token() const { return server_.address().substr(server_.address().find('=') + 1); }
  httplib::Headers allowed() const {
    return {{"Host", host()}, {"Cookie", "kvex-" + std::to_string(server_.port()) + "=" + token()}};
  }
  httplib::Headers allowedWith(const std::string& name, const std::string& value) const {
    httplib::Headers headers = allowed();
    headers.erase(name);
    headers.emplace(name, value);
    return headers;
  }
  int statusOf(const std::string& path, const httplib::Headers& headers) {
    const auto result = client_.Get(path.c_str(), headers);
    return result ? result->status : 0;
  }
  std::vector<json> linesOf(const std::string& path) {
    const auto result = client_.Get(path.c_str(), allowed());
    std::vector<json> lines;
    std::istringstream text(result->body);
    for (std::string line; std::getline(text, line);) lines.push_back(json::parse(line));
    return lines;
  }

  ViewServer server_;
  std::stop_source stop_;
  httplib::Client client_;
  std::jthread thread_;
};

TEST_F(ViewServerTest, ThePrintedAddressGivesThePageAndACookie) {
  EXPECT_THAT(server_.address(), testing::MatchesRegex("http://127\\.0\\.0\\.1:[0-9]+/\\?token=[0-9a-f]{32}"));
  const auto page = client_.Get(("/?token=" + token()).c_str(), httplib::Headers{{"Host", host()}});
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  const std::string cookie = page->get_header_value("Set-Cookie");
  EXPECT_THAT(cookie, HasSubstr("kvex-" + std::to_string(server_.port()) + "=" + token()));
  EXPECT_THAT(cookie, HasSubstr("HttpOnly"));
  EXPECT_THAT(cookie, HasSubstr("SameSite=Strict"));
  const std::string policy = page->get_header_value("Content-Security-Policy");
  EXPECT_THAT(policy, HasSubstr("default-src 'none'"));
  EXPECT_THAT(policy, HasSubstr("frame-ancestors 'none'"));
  EXPECT_THAT(policy, Not(HasSubstr("unsafe")));
  EXPECT_EQ(page->get_header_value("Cache-Control"), "no-store");
  EXPECT_THAT(page->body, Not(HasSubstr(token())));
}

TEST_F(ViewServerTest, WhoHasNotTheTokenGetsNothing) {
  struct Case {
    const char* path;
    httplib::Headers headers;
  };
  const std::string wrong(32, '0');
  const std::string name = "kvex-" + std::to_string(server_.port());
  for (const auto& [path, headers] :
       {Case{"/", {}}, Case{"/?token=", {}}, Case{"/?token=00", {}}, Case{"/api/files", {}},
        Case{"/api/files", {{"Cookie", name + "="}}}, Case{"/api/files", {{"Cookie", name + "=" + wrong}}},
        Case{"/api/files", {{"Cookie", "kvex-1=" + token()}}},
        Case{"/api/files", {{"Cookie", "x" + name + "=" + token()}}},
        Case{"/api/files", {{"Cookie", name + "=" + token() + "0"}}}}) {
    httplib::Headers all = headers;
    all.emplace("Host", host());
    const auto result = client_.Get(path, all);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 403) << path;
    EXPECT_THAT(result->body, HasSubstr("needs a token")) << path;
    EXPECT_FALSE(result->has_header("Set-Cookie"));
  }
  // The token alone, in the address of anything but the page, is none.
  EXPECT_EQ(statusOf("/api/files?token=" + token(), {{"Host", host()}}), 403);
  EXPECT_EQ(statusOf("/api/files", allowedWith("Cookie", "a=b; " + name + "=" + token())), 200);
}

TEST_F(ViewServerTest, OtherHostsAndOriginsAreRefused) {
  for (const std::string& host :
       std::vector<std::string>{"evil.example", "127.0.0.1", "127.0.0.1:1", "localhost.evil.example"}) {
    EXPECT_EQ(statusOf("/api/files", allowedWith("Host", host)), 403) << host;
    EXPECT_EQ(statusOf("/?token=" + token(), {{"Host", host}}), 403) << host;
  }
  for (const std::string& origin :
       std::vector<std::string>{"http://evil.example", "null", "https://" + host(), "http://127.0.0.1:1"}) {
    EXPECT_EQ(statusOf("/api/files", allowedWith("Origin", origin)), 403) << origin;
  }
  EXPECT_EQ(statusOf("/api/files", allowedWith("Origin", "http://" + host())), 200);
  const auto posted = client_.Post("/api/files", allowed(), "x", "text/plain");
  EXPECT_EQ(posted->status, 405);
  EXPECT_EQ(client_.Delete("/api/files", allowed())->status, 405);
}

TEST_F(ViewServerTest, OnlyItsFilesCanBeRead) {
  for (const std::string& path :
       std::vector<std::string>{"/api/files/2/signals", "/api/files/-1/signals", "/api/files/99999/signals",
                                "/etc/passwd", "/../../etc/passwd", "/api/files/0/nothing", "/api/files//signals",
                                "/api/files/%2e%2e%2fetc/signals", "/api/files/0/overview?signal=0:Nothing"}) {
    EXPECT_EQ(statusOf(path, allowed()), 404) << path;
  }
  for (const std::string& query :
       std::vector<std::string>{"", "?signal=0:VehicleSpeed&from=x", "?signal=0:VehicleSpeed&from=nan",
                                "?signal=0:VehicleSpeed&from=5&to=5", "?signal=0:VehicleSpeed&slices=0",
                                "?signal=0:VehicleSpeed&slices=1e9", "?signal=0:VehicleSpeed&slices=-1"}) {
    EXPECT_EQ(statusOf("/api/files/0/overview" + query, allowed()), 400) << query;
  }
  std::string many;
  for (std::size_t i = 0; i <= ViewedFile::kMostSignals; ++i) many += "&signal=" + std::to_string(i);
  EXPECT_EQ(statusOf("/api/files/0/overview?slices=5" + many, allowed()), 400);
  EXPECT_EQ(statusOf("/api/files/0/" + std::string(20'000, 'x'), allowed()), 414);
  EXPECT_EQ(statusOf("/api/files", allowed()), 200);  // It still answers.
}

TEST_F(ViewServerTest, TellsOfItsFilesAndTheirSignals) {
  const json files = json::parse(client_.Get("/api/files", allowed())->body);
  ASSERT_EQ(files.size(), 2U);
  EXPECT_EQ(files[0]["name"], "view-spike.vrel");
  EXPECT_DOUBLE_EQ(files[0]["seconds"].get<double>(), 1199.99);
  const json signals = json::parse(client_.Get("/api/files/0/signals", allowed())->body);
  File file(spikePath());
  EXPECT_EQ(signals.size(), file.match("*").size());
  EXPECT_EQ(signals[2], json({0, "VehicleSpeed", "m/s", "Speed over ground.", "Position", 0}));
  const json tracks = json::parse(client_.Get("/api/files/0/tracks", allowed())->body);
  EXPECT_EQ(tracks[0]["breaks"].size(), 1U);
}

TEST_F(ViewServerTest, ADeepZoomGivesACoarsePictureAndThenTheWalksOwn) {
  const std::vector<json> lines =
      linesOf("/api/files/0/overview?signal=0:VehicleSpeed&from=599.9&to=600.1&slices=1000");
  ASSERT_GE(lines.size(), 2U);
  EXPECT_FALSE(lines.front()["final"].get<bool>());
  EXPECT_TRUE(lines.back()["final"].get<bool>());
  const json& signal = lines.back()["signals"][0];
  EXPECT_NEAR(signal["from"].get<double>(), 599.9, 1e-6);
  EXPECT_NEAR(signal["width"].get<double>(), 0.0002, 1e-9);
  EXPECT_EQ(signal["a"].size(), 1000U);
  // What lies in the pyramid is answered at once, with the spike in it.
  const std::vector<json> again = linesOf("/api/files/0/overview?signal=0:VehicleSpeed&slices=500");
  ASSERT_EQ(again.size(), 1U);
  EXPECT_TRUE(again[0]["final"].get<bool>());
}

TEST_F(ViewServerTest, TheSamplesAreThoseOfTheExport) {
  const auto csv = client_.Get("/api/files/0/samples?signal=0:VehicleSpeed&signal=0:Latitude&from=1&to=1.5", allowed());
  EXPECT_THAT(csv->get_header_value("Content-Disposition"), HasSubstr("view-spike.csv"));
  const auto exported = runCommand("vrel", "export " + spikePath() +
                                               " --native --qualified --time utc --signal 0:VehicleSpeed --signal "
                                               "0:Latitude --start +1 --end +1.5");
  EXPECT_EQ(csv->body, exported.output);
  EXPECT_EQ(std::ranges::count(csv->body, '\n'), 51);
  EXPECT_EQ(statusOf("/api/files/1/samples?signal=0:Nano&signal=1:Nano", allowed()), 400);
}

TEST_F(ViewServerTest, RequestsThatAreGivenUpMakeRoomForOthers) {
  const std::string samples = "/api/files/0/samples?signal=0:VehicleSpeed&signal=0:Latitude&signal=0:Longitude";
  for (int i = 0; i < 20; ++i) {  // more than are served at a time
    httplib::Client leaving("127.0.0.1", server_.port());
    EXPECT_FALSE(leaving.Get(samples.c_str(), allowed(), [](const char*, std::size_t) { return false; }));
  }
  int status = 0;
  for (int tries = 0; tries < 200 && status != 200; ++tries) {
    status = statusOf("/api/files/0/overview?signal=0:VehicleSpeed&slices=10", allowed());
    if (status != 200) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_EQ(status, 200);
}

TEST(ViewServerPortTest, ATakenPortIsAFailureThatSaysSo) {
  const ViewServer first({}, 0);
  try {
    const ViewServer second({}, first.port());
    FAIL() << "two servers have one port";
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), HasSubstr("in use"));
  }
}

TEST(ViewedFileTest, WhatNobodyWaitsForIsGivenUp) {
  ViewedFile file(spikePath(), {});
  const auto ignore = [](std::string_view) {};
  const ViewRequest request{.signals = {"0:VehicleSpeed"}};
  EXPECT_THROW(file.overview(
                   request, [] { return false; }, ignore),
               GivenUp);
  EXPECT_THROW(file.samples(
                   request, [] { return false; }, ignore),
               GivenUp);
  std::string found;
  file.overview(
      request, [] { return true; }, [&](std::string_view text) { found += text; });
  EXPECT_THAT(found, HasSubstr("\"final\":true"));
}

TEST(ViewedFileTest, TheTracksGiveWayToWhatIsLookedAt) {
  ViewedFile file(dataPath("nav_recording_11.vrel"), {});
  const auto ignore = [](std::string_view) {};
  std::atomic<bool> hasLooked = false;
  std::thread looking;
  const auto lookNow = [&] {
    if (!looking.joinable()) {
      looking = std::thread([&] {
        file.overview(
            {.signals = {"1:Nano"}}, [] { return true; }, ignore);
        hasLooked = true;
      });
      std::this_thread::sleep_for(std::chrono::milliseconds(200));  // until it waits
    }
    return true;
  };
  bool lookedFirst = false;
  std::string found;
  file.tracks(lookNow, [&](std::string_view text) {
    lookedFirst = hasLooked;
    found = text;
  });
  looking.join();
  EXPECT_TRUE(lookedFirst);
  EXPECT_GE(json::parse(found).size(), 1U);
}

TEST(ViewedFileTest, ManySignalsAreForgottenAndFoundAgain) {
  ViewedFile file(dataPath("nav_recording_11.vrel"), {});
  const auto answerTo = [&](const ViewRequest& request) {
    std::string found;
    file.overview(
        request, [] { return true; }, [&](std::string_view text) { found = text; });
    return json::parse(found);
  };
  std::vector<std::string> names;
  for (const auto& row : file.signals()) {
    if (row[5] == 0) names.push_back(std::to_string(row[0].get<int>()) + ":" + row[1].get<std::string>());
  }
  const json first = answerTo({.signals = {names[0]}, .slices = 100});
  for (std::size_t at = 1; at + 20 < 100; at += 20) {
    answerTo({.signals = {names.begin() + static_cast<std::ptrdiff_t>(at),
                          names.begin() + static_cast<std::ptrdiff_t>(at + 20)},
              .slices = 100});
  }
  EXPECT_EQ(answerTo({.signals = {names[0]}, .slices = 100}), first);
  EXPECT_EQ(answerTo({.signals = {names[0], names[0]}, .slices = 100})["signals"].size(), 2U);
}

TEST(ViewedFileTest, ElementsOfArraysAreSignals) {
  ViewedFile file(dataPath("range_file_11.yeld"), {});
  const auto check = [&](const std::string& name) { file.check({.signals = {name}}); };
  std::string array;
  for (const auto& row : file.signals()) {
    if (row[5] == 24) array = std::to_string(row[0].get<int>()) + ":" + row[1].get<std::string>();
  }
  ASSERT_NE(array, "");
  EXPECT_NO_THROW(check(array + "[23]"));
  for (const std::string& wrong :
       std::vector<std::string>{array, array + "[24]", array + "[", array + "[]", array + "[-1]", array + "[1]x"}) {
    EXPECT_THROW(check(wrong), Error) << wrong;
  }
}

TEST(ZoomedTest, PutsSlicesTogetherWithoutLosingAny) {
  DrawnSlices all{.start = 1000, .width = 10};
  for (int i = 0; i < 100; ++i) {
    const double value = i == 37 ? 1000 : i;
    all.list.push_back({.samples = 1, .usable = 1, .first = value, .last = value, .smallest = value, .largest = value});
  }
  all.list[5] = {};
  struct Case {
    Span span;
    std::size_t least;
    bool enough;
    std::size_t count;
    Nano start;
    double width;
  };
  for (const Case& one : {Case{{1000, 2000}, 10, true, 10, 1000, 100}, Case{{1000, 2000}, 30, true, 34, 1000, 30},
                          Case{{1205, 1395}, 4, true, 4, 1200, 50}, Case{{1205, 1395}, 100, false, 20, 1200, 10},
                          Case{{0, 5000}, 100, true, 100, 1000, 10}, Case{{5000, 6000}, 1, false, 0, 2000, 10}}) {
    DrawnSlices part;
    EXPECT_EQ(zoomed(all, one.span, one.least, part), one.enough);
    EXPECT_EQ(part.list.size(), one.count);
    EXPECT_EQ(part.start, one.start);
    EXPECT_EQ(part.width, one.width);
  }
  DrawnSlices part;
  zoomed(all, {1000, 2000}, 10, part);
  EXPECT_EQ(part.list[3].largest, 1000);
  EXPECT_EQ(part.list[0].samples, 9U);
  EXPECT_EQ(part.list[0].smallest, 0);
  EXPECT_EQ(part.list[0].last, 9);
}

}  // namespace

}  // namespace Kvex::Tool
