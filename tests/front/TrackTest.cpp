#include <cmath>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <numbers>
#include <random>

#include "front/TrackWalk.h"
#include "recording/OggPage.h"
#include "support/StoreReading.h"

namespace Kvex {
namespace {

using Front::Offset;
using Front::offsetBetween;
using Front::TrackThinner;

std::vector<TrackPoint> thinned(const std::vector<TrackPoint>& points, double tolerance) {
  std::vector<TrackPoint> kept;
  TrackThinner thinner(tolerance, [&](const TrackPoint& point) { kept.push_back(point); });
  for (const TrackPoint& point : points) thinner.add(point);
  thinner.finish();
  return kept;
}

/// The distance of a point from the line between two others, its ends counted in.
double distanceFrom(const TrackPoint& point, const TrackPoint& begin, const TrackPoint& end) {
  const Offset line = offsetBetween(begin, end);
  const Offset to = offsetBetween(begin, point);
  const double length = line.east * line.east + line.north * line.north;
  double share = length > 0 ? (to.east * line.east + to.north * line.north) / length : 0;
  share = std::clamp(share, 0.0, 1.0);
  return std::hypot(to.east - share * line.east, to.north - share * line.north);
}

TEST(TrackThinnerTest, LeavesNothingOutThatIsFartherThanTheTolerance) {
  std::mt19937 random(3);
  std::normal_distribution<double> noise;
  for (const double tolerance : {0.05, 0.5, 5.0}) {
    for (const double longitude : {10.0, 179.9999, -180.0}) {
      std::vector<TrackPoint> points;
      TrackPoint point{.time = 0, .latitude = 60, .longitude = longitude, .beginsPart = true};
      double course = 0;
      for (int i = 0; i < 3000; ++i) {
        points.push_back(point);
        course += 0.05 * noise(random);
        const double step = i % 700 < 60 ? 0.01 : 0.8;  // metres; now and then it hardly moves
        point.time += 10'000'000;
        point.latitude += step * std::cos(course) / 111'400 + 1e-8 * noise(random);
        point.longitude = std::remainder(point.longitude + step * std::sin(course) / 55'800, 360.0);
        point.beginsPart = i == 1500;
      }
      const std::vector<TrackPoint> kept = thinned(points, tolerance);
      EXPECT_LT(kept.size(), points.size() / 2);
      ASSERT_EQ(kept.back().time, points.back().time);
      auto next = kept.begin();
      for (const TrackPoint& each : points) {
        if (each.time == next->time) {
          EXPECT_EQ(each.beginsPart, next->beginsPart);
          if (++next == kept.end()) break;
          continue;
        }
        EXPECT_LE(distanceFrom(each, *(next - 1), *next), tolerance * 1.001) << each.time;
      }
    }
  }
}

TEST(TrackThinnerTest, KeepsEndsOfPartsAndChangesOfMode) {
  std::vector<TrackPoint> points;
  for (int i = 0; i < 20; ++i) {
    points.push_back({.time = i,
                      .latitude = 50 + i * 1e-5,
                      .longitude = 8,
                      .mode = static_cast<std::uint8_t>(i < 12 ? 4 : 6),
                      .beginsPart = i == 0 || i == 5});
  }
  std::vector<Nano> times;
  for (const TrackPoint& point : thinned(points, 1)) times.push_back(point.time);
  EXPECT_EQ(times, (std::vector<Nano>{0, 4, 5, 11, 12, 19}));
  EXPECT_EQ(thinned(points, 0).size(), points.size());
}

TEST(TrackOffsetTest, MeasuresOnTheGround) {
  const struct {
    double latitude;
    double longitude;
    double toLatitude;
    double toLongitude;
    double east;
    double north;
  } cases[] = {
      // A minute of arc of the meridian, and of circles of latitude, of the ellipsoid.
      {0, 0, 1.0 / 60, 0, 0, 1842.9},        {0, 0, 0, 1.0 / 60, 1855.3, 0},
      {60, 20, 60, 20 + 1.0 / 60, 930.0, 0}, {90, 0, 90 - 1.0 / 60, 0, 0, -1861.6},
      {60, 179.99, 60, -179.99, 1116.0, 0},
  };
  for (const auto& one : cases) {
    const Offset offset = offsetBetween({.latitude = one.latitude, .longitude = one.longitude},
                                        {.latitude = one.toLatitude, .longitude = one.toLongitude});
    EXPECT_NEAR(offset.east, one.east, 0.2) << one.latitude;
    EXPECT_NEAR(offset.north, one.north, 0.2) << one.latitude;
  }
}

std::vector<TrackPoint> trackOf(File& file, const TrackOptions& options = {}) {
  std::vector<TrackPoint> points;
  file.track(options, [&](const TrackPoint& point) { points.push_back(point); });
  return points;
}

TEST(TrackTest, HasThePositionsOfTheRecording) {
  File file(std::string(KVEX_TEST_DATA) + "/nav_recording_11.vrel");
  ASSERT_FALSE(file.tracks().empty());
  for (const TrackSignals& signals : file.tracks()) {
    const std::vector<TrackPoint> points = trackOf(file, {.stream = signals.stream});
    std::size_t next = 0;
    for (const Batch& batch : file.native({signals.latitude, signals.longitude})) {
      const auto latitude = batch.column<double>(0);
      const auto longitude = batch.column<double>(1);
      for (std::size_t row = 0; row < batch.rows(); ++row) {
        if (!latitude.valid(row) || !longitude.valid(row)) continue;
        if (std::abs(latitude[row]) > 90 || std::abs(longitude[row]) > 180) continue;
        ASSERT_LT(next, points.size());
        EXPECT_EQ(points[next].time, batch.time(row));
        EXPECT_EQ(points[next].latitude, latitude[row]);
        EXPECT_EQ(points[next].longitude, longitude[row]);
        ++next;
      }
    }
    EXPECT_EQ(next, points.size());
  }
}

TEST(LocalPlaneTest, XLeadsAlongTheHeadingAndYToItsLeft) {
  for (const double heading : {0.0, 37.0, 90.0, 200.0, 359.0}) {
    for (const double longitude : {8.0, 179.9999}) {
      const LocalPlane plane{.latitude = 50, .longitude = longitude, .altitude = 100, .heading = heading};
      const auto at = [&](double x, double y) {
        const auto [latitude, east] = plane.place(x, y);
        return offsetBetween({.latitude = 50, .longitude = longitude}, {.latitude = latitude, .longitude = east});
      };
      const Offset ahead = at(40, 0);
      const Offset left = at(0, 30);
      const double course = std::atan2(ahead.east, ahead.north) * 180 / std::numbers::pi;
      EXPECT_NEAR(std::remainder(course - heading, 360.0), 0, 1e-4);
      EXPECT_NEAR(std::hypot(ahead.east, ahead.north), 40, 1e-3);
      EXPECT_NEAR(ahead.north * left.east - ahead.east * left.north, -40 * 30, 0.1);  // a quarter turn to the left
      EXPECT_NEAR(ahead.north * left.north + ahead.east * left.east, 0, 0.1);
    }
  }
}

TEST(TrackTest, PlacesTargetsWhereTheirRangesSay) {
  File file(std::string(KVEX_TEST_DATA) + "/range_file_11.yeld");
  const auto pathOf = [&](const std::string& object) { return trackOf(file, {.object = object}); };
  const std::vector<TrackPoint> hunter = pathOf("Hunter");
  const std::vector<TrackPoint> target = pathOf("Target1");
  ASSERT_FALSE(hunter.empty());
  ASSERT_FALSE(target.empty());
  Reader references = file.native({file.signal("Hunter_RefLat"), file.signal("Hunter_RefLon")});
  const Batch& reference = *references.begin();
  for (const TrackPoint& point : target) {
    const Offset offset =
        offsetBetween({.latitude = reference.column<double>(0)[0], .longitude = reference.column<double>(1)[0]}, point);
    EXPECT_LT(std::hypot(offset.east, offset.north), 10'000);
  }
  EXPECT_THROW(pathOf("Target9"), Error);
}

TEST(TrackTest, BeginsAPartBehindAGap) {
  std::ifstream in(std::string(KVEX_TEST_DATA) + "/nav_recording_11.vrel", std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), {});
  const auto pages = Com::findPages(Com::bytesOf(bytes));
  const std::size_t from =
      static_cast<std::size_t>(reinterpret_cast<const char*>(pages[pages.size() / 2].data()) - bytes.data());
  const std::size_t to =
      static_cast<std::size_t>(reinterpret_cast<const char*>(pages[pages.size() * 3 / 4].data()) - bytes.data());
  bytes.erase(from, to - from);
  const Testing::TempFile harmed("gap.vrel", bytes);
  File file(harmed.path());
  const std::vector<TrackPoint> points = trackOf(file);
  const Events gaps = file.events({.kinds = {EventKind::Gap}, .streams = {file.tracks().front().stream}});
  ASSERT_FALSE(gaps.list.empty());
  const auto behind =
      std::ranges::find_if(points, [&](const TrackPoint& point) { return point.time >= gaps.list[0].record; });
  ASSERT_NE(behind, points.end());
  EXPECT_TRUE(behind->beginsPart);
  EXPECT_FALSE((behind - 1)->beginsPart);
}

TEST(TrackTest, ThinsByPeriodAndSpan) {
  File file(std::string(KVEX_TEST_DATA) + "/nav_recording_11.vrel");
  const std::vector<TrackPoint> all = trackOf(file);
  const std::vector<TrackPoint> thin = trackOf(file, {.period = kNanosPerSecond});
  ASSERT_GT(thin.size(), 2U);
  for (std::size_t i = 1; i < thin.size(); ++i) {
    EXPECT_TRUE(thin[i].beginsPart || thin[i].time / kNanosPerSecond > thin[i - 1].time / kNanosPerSecond);
  }
  const Nano start = all[all.size() / 3].time;
  const std::vector<TrackPoint> part = trackOf(file, {.start = start, .end = start + kNanosPerSecond});
  ASSERT_FALSE(part.empty());
  EXPECT_EQ(part.front().time, start);
  EXPECT_LT(part.back().time, start + kNanosPerSecond);
  EXPECT_THROW(trackOf(file, {.period = -1}), Error);
  EXPECT_THROW(trackOf(file, {.stream = 99}), Error);
}

}  // namespace
}  // namespace Kvex
