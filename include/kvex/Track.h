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

/// The signals from which the path of a stream is read. All are of one stream.
struct TrackSignals {
  std::uint32_t stream = 0;
  Signal latitude;
  Signal longitude;
  std::optional<Signal> altitude;
  std::optional<Signal> speed;   ///< Over ground.
  std::optional<Signal> course;  ///< Over ground.
  std::optional<Signal> northAccuracy;
  std::optional<Signal> eastAccuracy;
  std::optional<Signal> mode;  ///< How the position was found.
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
  std::optional<std::uint32_t> stream;  ///< None: the first one that has positions.
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
};

/// Is given the points of a path in their order.
using TrackVisitor = std::function<void(const TrackPoint&)>;

}  // namespace Kvex
