#pragma once

#include <cstddef>
#include <cstdint>
#include <kvex/Time.h>
#include <optional>
#include <vector>

namespace Kvex::Front {

/// Finds the gaps between packets: more than five periods without one. The period is the median of the distances from
/// each packet's time to the next, of two in the middle the smaller one; packets of the same time and times that run
/// back make no distance. Memory does not grow with the packets: of very many distances, the longest ones are kept as
/// candidates, and the period is right to 0.4 %, and exact where packets come regularly.
class GapFinder {
 public:
  struct Gap {
    Nano from = 0;  ///< The time of the last packet before it.
    Nano to = 0;    ///< That of the first one behind it.

    /// Nanoseconds; it may not fit into a signed number.
    std::uint64_t length() const { return static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from); }
  };

  /// At most `limit` gaps are found, of more the longest ones.
  explicit GapFinder(std::size_t limit);

  /// Takes the time of the next packet in.
  void add(Nano time) {
    if (last_ && time > *last_) addDistance({*last_, time});
    last_ = time;
  }

  /// In nanoseconds; none without distances.
  std::optional<std::uint64_t> period() const;
  /// In no order.
  std::vector<Gap> gaps() const;

 private:
  /// Distances that are alike in their leading bits.
  struct Bucket {
    std::uint64_t count = 0;
    std::uint64_t smallest = 0;
  };

  void addDistance(const Gap& distance);
  void keepLongest();

  std::size_t limit_;
  std::optional<Nano> last_;
  std::vector<Bucket> buckets_;
  std::uint64_t distances_ = 0;
  std::vector<Gap> longest_;
  std::uint64_t threshold_ = 0;  ///< Distances that are not longer are no candidates.
};

}  // namespace Kvex::Front
