#pragma once

#include <kvex/Track.h>
#include <vector>

namespace Kvex {

class File;
class Stream;

}  // namespace Kvex

namespace Kvex::Front {

/// The signals of a stream from which its path is read; none where it has no latitude and longitude.
std::optional<TrackSignals> trackSignals(const Stream& stream);
/// Those of the objects that a range system places on a plane; none in other streams.
std::vector<TrackSignals> objectSignals(const Stream& stream);

/// Where two positions lie to each other, in metres: east and north of the first one, on the plane that touches the
/// ground there. Exact enough for distances of some kilometres; the way round the antimeridian is the short one.
struct Offset {
  double east;
  double north;
};
Offset offsetBetween(const TrackPoint& from, const TrackPoint& to);

/// Leaves out points that lie near enough to the straight line between those that stay (J. Sklansky and V. Gonzalez,
/// "Fast polygonal approximation of digitized curves", 1980): as long as a line within `tolerance` of all points since
/// the last one that stayed leads to the newest, only the newest is kept.
class TrackThinner {
 public:
  TrackThinner(double tolerance, TrackVisitor visitor) : tolerance_(tolerance), visitor_(std::move(visitor)) {}

  void add(const TrackPoint& point);
  /// The end of the path.
  void finish();

 private:
  void begin(const TrackPoint& point);

  double tolerance_;
  TrackVisitor visitor_;
  std::optional<TrackPoint> anchor_;  ///< The last point that stayed.
  std::optional<TrackPoint> newest_;  ///< Not given out yet.
  double farthest_ = 0;               ///< From the anchor, in metres.
  double middle_ = 0;                 ///< The directions that are open lie around this one, in radians,
  double halfWidth_ = 0;              ///< by no more than this.
  bool hasCone_ = false;
};

/// Reads a path. See `File::track`.
void walkTrack(File& file, const TrackSignals& signals, const TrackOptions& options, const TrackVisitor& visitor);

}  // namespace Kvex::Front
