#pragma once

#include <cstdint>
#include <functional>
#include <kvex/Options.h>
#include <kvex/Signal.h>
#include <kvex/Time.h>
#include <limits>
#include <optional>
#include <stop_token>
#include <string>

namespace Kvex {

/// A plane that touches the ground at a reference point, on which a range system places what it measures.
struct LocalPlane {
  double latitude = 0;   ///< Of the reference point, in degrees.
  double longitude = 0;  ///< Of the reference point, in degrees.
  double altitude = 0;   ///< Of the reference point, in metres.
  double heading = 0;    ///< Of the x axis, in degrees clockwise from north.

  struct Place {
    double latitude;   ///< In degrees.
    double longitude;  ///< In degrees, -180 to 180.
  };
  /// The place `x` metres along the heading and `y` metres to the left of it. With the heading h it lies
  /// x cos h + y sin h to the north of the reference point and x sin h - y cos h to its east; a degree there is as long
  /// as the radii of WGS 84's ellipsoid at the reference point, its altitude added, make it.
  Place place(double x, double y) const;
};

/// The signals that tell of a `LocalPlane`.
struct PlaneSignals {
  Signal latitude;
  Signal longitude;
  std::optional<Signal> altitude;
  Signal heading;
};

/// The signals from which a path is read. All are of one stream.
struct TrackSignals {
  std::uint32_t stream = 0;
  Signal latitude;   ///< In degrees; with a `plane` x in metres on it.
  Signal longitude;  ///< In degrees; with a `plane` y in metres on it.
  std::optional<Signal> altitude;
  std::optional<Signal> speed;   ///< Over ground.
  std::optional<Signal> course;  ///< Over ground.
  std::optional<Signal> northAccuracy;
  std::optional<Signal> eastAccuracy;
  std::optional<Signal> mode;  ///< How the position was found.
  /// What moves, where a stream tells of several: "Hunter", "Target1" to "Target4". Else empty.
  std::string object;
  std::optional<PlaneSignals> plane;
};

/// A place of a path. What is not known of it is not a number.
struct TrackPoint {
  static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

  Nano time = kNoTime;
  double latitude = kUnknown;   ///< In degrees, -90 to 90.
  double longitude = kUnknown;  ///< In degrees, -180 to 180.
  double altitude = kUnknown;   ///< In metres, above what the recording measures from.
  double speed = kUnknown;      ///< In metres per second.
  double course = kUnknown;     ///< In degrees clockwise from north.
  double accuracy = kUnknown;   ///< Horizontal, in metres: of north and east accuracy the root of the sum of squares.
  std::optional<std::uint8_t> mode;  ///< A value of `TrackSignals::mode`.
  bool beginsPart = false;           ///< The path does not lead here from the point before: there is a gap.
};

/// Which points of a path are wanted. Later versions add members at the end.
struct TrackOptions {
  std::optional<std::uint32_t> stream;  ///< None: that of the first of `File::tracks`.
  std::optional<Nano> start;            ///< Only points with `start` <= time < `end`.
  std::optional<Nano> end;
  /// Only the first point of each period, counted from GPS time zero. 0: every point. Throws `InvalidArgument` below 0.
  Nano period = 0;
  /// Only as many points that the straight lines between them are nowhere farther from those left out than this many
  /// metres, measured on the ground: the cone intersection method, which needs one walk and no memory. The first and
  /// the last point of a part stay, and those at which the mode changes. 0: every point.
  double tolerance = 0;
  ProgressCallback progress;
  std::stop_token stop;  ///< A stop ends the reading within a second, with `Cancelled`.
  std::string object;    ///< Of several that a stream tells of, this one; empty: the first.
};

/// Is given the points of a path in their order.
using TrackVisitor = std::function<void(const TrackPoint&)>;

}  // namespace Kvex
