#include "front/GapFinder.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <iterator>

namespace Kvex::Front {

namespace {

constexpr std::uint64_t kPeriodsPerGap = 5;
/// Leading bits in which the distances of a bucket are alike.
constexpr int kBits = 8;

/// Rises with the distance.
std::size_t bucketOf(std::uint64_t distance) {
  const int shift = std::max(0, static_cast<int>(std::bit_width(distance)) - kBits);
  return (static_cast<std::size_t>(shift) << kBits) + (distance >> shift);
}

constexpr std::size_t kBuckets = static_cast<std::size_t>(64 - kBits + 1) << kBits;

}  // namespace

GapFinder::GapFinder(std::size_t limit) : limit_(std::max<std::size_t>(limit, 1)), buckets_(kBuckets) {}

void GapFinder::addDistance(const Gap& distance) {
  const std::uint64_t length = distance.length();
  Bucket& bucket = buckets_[bucketOf(length)];
  bucket.smallest = bucket.count == 0 ? length : std::min(bucket.smallest, length);
  ++bucket.count;
  ++distances_;
  if (length <= threshold_) return;
  longest_.push_back(distance);
  if (longest_.size() >= 2 * limit_) keepLongest();
}

void GapFinder::keepLongest() {
  const auto last = longest_.begin() + static_cast<std::ptrdiff_t>(limit_ - 1);
  std::ranges::nth_element(longest_, last, std::greater{}, &Gap::length);
  threshold_ = last->length();
  longest_.resize(limit_);
}

std::optional<std::uint64_t> GapFinder::period() const {
  if (distances_ == 0) return std::nullopt;
  std::uint64_t passed = 0;
  for (const Bucket& bucket : buckets_) {
    passed += bucket.count;
    if (2 * passed >= distances_) return bucket.smallest;
  }
  return std::nullopt;
}

std::vector<GapFinder::Gap> GapFinder::gaps() const {
  const std::optional<std::uint64_t> typical = period();
  std::vector<Gap> found;
  if (!typical || *typical > UINT64_MAX / kPeriodsPerGap) return found;
  std::ranges::copy_if(longest_, std::back_inserter(found),
                       [&](const Gap& gap) { return gap.length() > kPeriodsPerGap * *typical; });
  return found;
}

}  // namespace Kvex::Front
