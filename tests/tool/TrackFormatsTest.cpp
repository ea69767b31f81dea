#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "support/Command.h"
#include "support/Golden.h"
#include "tool/TrackFormats.h"

namespace Kvex::Tool {
namespace {

using Json = nlohmann::json;
using Support::contentsOf;
using Support::dataPath;
using Support::scratchPath;

const TrackTexts kTexts{.name = "a <run> & \"more\"\x01\xff", .description = "]]>", .modeText = [](std::uint8_t mode) {
                          return mode == 4 ? "<fixed>" : "float";
                        }};

TrackPoint point(Nano second, double latitude, double longitude, std::uint8_t mode = 4) {
  return {.time = 1'417'651'425'000'000'000 + second * kNanosPerSecond,
          .latitude = latitude,
          .longitude = longitude,
          .altitude = 12.5,
          .mode = mode,
          .beginsPart = second == 0};
}

/// A track as a format writes it.
std::string written(std::string_view ending, const std::vector<TrackPoint>& points,
                    const std::vector<TrackMark>& marks = {}) {
  const std::string path = scratchPath("track" + std::string(ending));
  Output output(path);
  const auto row = std::ranges::find(trackFormats(), ending, &TrackFormatRow::ending);
  const auto format = row->make(output, kTexts.name);
  if (!points.empty()) {
    format->begin(kTexts);
    for (const TrackPoint& each : points) format->addPoint(each);
    for (const TrackMark& mark : marks) format->addMark(mark);
    format->end();
  }
  format->finish();
  output.finish();
  return contentsOf(path);
}

std::size_t countOf(const std::string& text, const std::string& pattern) {
  const std::regex expression(pattern);
  return static_cast<std::size_t>(
      std::distance(std::sregex_iterator(text.begin(), text.end(), expression), std::sregex_iterator()));
}

/// Whether the tags of an XML text are nested as they should be, and no other markup stands in it.
bool isNested(const std::string& text) {
  std::vector<std::string> open;
  const std::regex tag("<(/?)([A-Za-z:]+)([^<>]*?)(/?)>");
  for (auto found = std::sregex_iterator(text.begin(), text.end(), tag); found != std::sregex_iterator(); ++found) {
    const std::smatch& match = *found;
    if (match[1].length() > 0) {
      if (open.empty() || open.back() != match[2].str()) return false;
      open.pop_back();
    } else if (match[4].length() == 0) {
      open.push_back(match[2].str());
    }
  }
  return open.empty() && text.find("run>") == std::string::npos && text.find("<fixed>") == std::string::npos;
}

std::vector<TrackPoint> twoParts() {
  std::vector<TrackPoint> points{point(0, 50, 8), point(1, 50.1, 8.1), point(2, 50.2, 8.2, 6), point(9, 51, 9)};
  points.back().beginsPart = true;
  points.back().altitude = TrackPoint::kUnknown;
  return points;
}

TEST(TrackFormatsTest, KmlHasTimesAheadOfPositionsInEachPart) {
  const std::string kml = written(".kml", twoParts(), {{point(1, 50.05, 8.05), "trigger <1>"}});
  EXPECT_TRUE(isNested(kml)) << kml;
  EXPECT_EQ(countOf(kml, "<gx:Track>"), 2U);
  EXPECT_EQ(countOf(kml, "<when>[^<]*</when>\n"), 4U);
  EXPECT_EQ(countOf(kml, "<gx:coord>"), 4U);
  EXPECT_EQ(countOf(kml, "</gx:coord>\n<when>"), 0U) << "all times of a part come ahead of its positions";
  // The line of the first mode leads to the first point of the next; one point alone is no line.
  EXPECT_EQ(countOf(kml, "<LineString>"), 1U);
  EXPECT_THAT(kml, testing::HasSubstr("<coordinates>8,50,12.5 8.1,50.1,12.5 8.2,50.2,12.5</coordinates>"));
  EXPECT_THAT(kml, testing::HasSubstr("<name>trigger &lt;1&gt;</name>"));
}

TEST(TrackFormatsTest, GpxKeepsTheOrderAndRangesOfItsSchema) {
  std::vector<TrackPoint> points = twoParts();
  points[0].longitude = 180;
  points[1].speed = 3.5;
  const std::string gpx = written(".gpx", points, {{point(1, 50.05, 8.05), "t"}});
  EXPECT_TRUE(isNested(gpx)) << gpx;
  EXPECT_EQ(countOf(gpx, "<trkseg>"), 2U);
  EXPECT_LT(gpx.find("<metadata>"), gpx.find("<wpt "));
  EXPECT_LT(gpx.find("<wpt "), gpx.find("<trk>"));
  EXPECT_EQ(countOf(gpx,
                    "<trkpt lat=\"[-0-9.]+\" lon=\"[-0-9.]+\">(<ele>[-0-9.]+</ele>)?<time>[-0-9T:.]+Z</time>"
                    "(<extensions>(<kvex:[a-z]+>[^<]*</kvex:[a-z]+>)+</extensions>)?</trkpt>"),
            4U)
      << gpx;
  EXPECT_THAT(gpx, testing::HasSubstr("lon=\"-180\"")) << "a longitude is below 180";
  EXPECT_THAT(gpx, testing::HasSubstr("<kvex:speed>3.5</kvex:speed>"));
}

TEST(TrackFormatsTest, GeoJsonCutsLinesAtTheAntimeridian) {
  const Json json = Json::parse(written(".geojson", {point(0, 10, 179), point(1, 12, -179), point(2, 12, -178)}));
  ASSERT_EQ(json["features"].size(), 2U);
  EXPECT_EQ(json["features"][0]["geometry"]["coordinates"], Json::parse("[[179.0,10.0,12.5],[180.0,11.0,12.5]]"));
  EXPECT_EQ(json["features"][1]["geometry"]["coordinates"],
            Json::parse("[[-180.0,11.0,12.5],[-179.0,12.0,12.5],[-178.0,12.0,12.5]]"));
  for (const Json& feature : json["features"]) {
    EXPECT_THAT(feature["properties"]["track"].get<std::string>(), testing::StartsWith("a <run>"));
    for (const auto& [name, values] : feature["properties"].items()) {
      if (name == "track") continue;
      EXPECT_EQ(values.size(), feature["geometry"]["coordinates"].size()) << name;
    }
  }
}

TEST(TrackFormatsTest, GeoJsonHasAFeatureForEachPartAndMark) {
  const Json json = Json::parse(written(".geojson", twoParts(), {{point(1, 50.05, 8.05), "t"}, {point(2, 1, 2), "u"}}));
  std::vector<std::string> types;
  for (const Json& feature : json["features"]) types.push_back(feature["geometry"]["type"]);
  EXPECT_THAT(types, testing::ElementsAre("LineString", "Point", "Point", "Point"));
  EXPECT_EQ(json["features"][1]["geometry"]["coordinates"], Json::parse("[9.0,51.0]")) << "no altitude is known";
  EXPECT_EQ(Json::parse(written(".geojson", {})).at("features").size(), 0U);
}

TEST(TrackFormatsTest, PlacesLieBetweenPoints) {
  const TrackPoint place = placeBetween(point(0, 10, 179.5), point(4, 12, -179.5), point(3, 0, 0).time);
  EXPECT_DOUBLE_EQ(place.latitude, 11.5);
  EXPECT_DOUBLE_EQ(place.longitude, -179.75);
}

TEST(TrackCommandTest, WritesTheFormatOfTheEnding) {
  const auto run = [&](const std::string& arguments) {
    return Support::runCommand("vrel", "track '" + dataPath("nav_recording_11.vrel") + "' " + arguments);
  };
  const std::string out = scratchPath("run");
  for (const auto& [ending, begin] : {std::pair(".kml", "<?xml"), {".gpx", "<?xml"}, {".geojson", "{\"type\""}}) {
    EXPECT_EQ(run("-o " + out + ending).exitCode, 0) << ending;
    EXPECT_THAT(contentsOf(out + ending), testing::StartsWith(begin));
  }
  const struct {
    const char* arguments;
    int exitCode;
    const char* message;
  } wrong[] = {
      {"-o run.txt", 2, ".kml, .gpx or .geojson"}, {"-o run.kml --stream 99", 1, "99"},
      {"-o run.kml --period 0", 2, "--period"},    {"-o run.kml --tolerance=-1", 2, "--tolerance"},
      {"-o run.kml --start 2100-01-01", 2, "no"},  {"", 2, "--output"},
  };
  for (const auto& one : wrong) {
    const auto result = run(one.arguments);
    EXPECT_EQ(result.exitCode, one.exitCode) << one.arguments << result.errors;
    EXPECT_THAT(result.errors, testing::HasSubstr(one.message)) << one.arguments;
  }
}

TEST(TrackCommandTest, WritesTheHunterAndEachTargetOfARangeStream) {
  const std::string out = scratchPath("range.geojson");
  const std::string input = dataPath("range_file_11.yeld");
  const auto result = Support::runCommand("vrel", "track '" + input + "' --stream 0 -o " + out);
  ASSERT_LE(result.exitCode, 3) << result.errors;
  std::map<std::string, std::size_t> points;
  const Json json = Json::parse(contentsOf(out));
  for (const Json& feature : json["features"]) {
    const Json& properties = feature["properties"];
    if (properties.contains("track")) points[properties["track"]] += properties["times"].size();
  }
  File file(input);
  std::map<std::string, std::size_t> expected;
  for (const TrackSignals& track : file.tracks()) {
    if (track.stream != 0) continue;
    file.track({.stream = 0U, .object = track.object},
               [&](const TrackPoint&) { ++expected["range_file_11.yeld, stream 0, " + track.object]; });
  }
  EXPECT_GE(expected.size(), 2U);
  EXPECT_EQ(points, expected);
  for (const char* ending : {".kml", ".gpx"}) {
    const std::string path = scratchPath("range") + ending;
    ASSERT_LE(Support::runCommand("vrel", "track '" + input + "' --stream 0 -o " + path).exitCode, 3);
    EXPECT_TRUE(isNested(contentsOf(path))) << ending;
    EXPECT_EQ(countOf(contentsOf(path), ending == std::string(".kml") ? "<gx:MultiTrack>" : "<trk>"), expected.size());
  }
}

/// Two numbers of each line that has them, where `form` says.
std::vector<std::pair<double, double>> pairsIn(const std::string& lines, const char* form) {
  std::vector<std::pair<double, double>> pairs;
  std::istringstream text(lines);
  for (std::string line; std::getline(text, line);) {
    double x = 0;
    double y = 0;
    if (std::sscanf(line.c_str(), form, &x, &y) == 2) pairs.emplace_back(x, y);
  }
  return pairs;
}

TEST(TrackCommandTest, OtherProgramsReadWhatTheExportHas) {
  if (std::system("ogr2ogr --version >/dev/null 2>&1 && gpsbabel -V >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "ogr2ogr and gpsbabel are not installed";
  }
  const std::string input = "'" + dataPath("nav_recording_11.vrel") + "'";
  const std::string out = scratchPath("foreign");
  for (const char* ending : {".kml", ".gpx", ".geojson"}) {
    ASSERT_EQ(Support::runCommand("vrel", "track " + input + " -o " + out + ending).exitCode, 0);
  }
  const auto foreign = [&](const std::string& command) {
    EXPECT_EQ(std::system((command + " > " + out + ".txt 2>&1").c_str()), 0) << contentsOf(out + ".txt");
    return contentsOf(out + ".txt");
  };
  const TrackSignals signals = File(dataPath("nav_recording_11.vrel")).tracks().front();
  const auto exported =
      Support::runCommand("vrel", "export " + input + " --native --signal " + signals.longitude.qualifiedName() +
                                      " --signal " + signals.latitude.qualifiedName());
  const auto expected = pairsIn(exported.output, "%*d,%lf,%lf");
  const auto points =
      pairsIn(foreign("ogr2ogr -f CSV /vsistdout/ " + out + ".gpx track_points -lco GEOMETRY=AS_XY"), "%lf,%lf");
  ASSERT_FALSE(points.empty());
  ASSERT_EQ(points.size(), expected.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    EXPECT_NEAR(points[i].first, expected[i].first, 1e-12);
    EXPECT_NEAR(points[i].second, expected[i].second, 1e-12);
  }
  for (const char* ending : {".kml", ".geojson"}) {
    EXPECT_THAT(foreign("ogrinfo -so -al " + out + ending), testing::HasSubstr("Feature Count"));
  }
  EXPECT_EQ(countOf(foreign("gpsbabel -i gpx -f " + out + ".gpx -x transform,wpt=trk -o unicsv -F -"), "\n[0-9]+,"),
            points.size());
}

}  // namespace
}  // namespace Kvex::Tool
