#include "store/Mode.h"

#include <algorithm>
#include <utility>

namespace Kvex::Sto {

namespace {

/// More bins than this have no numbers.
constexpr std::uint32_t kMaxRetainBits = 62;

}  // namespace

void Mode::addStream(bool kept) {
  Subscriptions& added = streams_.emplace_back();
  if (kept && requests_ == Requests::PerStream) added.columns = std::make_unique<Columns>();
}

const Columns* Mode::columns(std::uint32_t streamId) const {
  if (requests_ == Requests::One) return &shared_;
  return streamId < streams_.size() ? streams_[streamId].columns.get() : nullptr;
}

std::uint32_t Mode::columnCount(ValueType type, std::uint32_t streamId) const {
  const Columns* all = columns(streamId);
  std::uint32_t count = 0;
  if (all == nullptr) return count;
  Lib::withType(type,
                [&](auto tag) { count = static_cast<std::uint32_t>(all->of<typename decltype(tag)::Type>().size()); });
  return count;
}

void Mode::subscribe(std::uint32_t streamId, const SignalRow& row, const void* record) {
  Subscriptions& stream = streams_[streamId];
  const ColumnPlace place{requestOf(streamId), columnCount(row.valueType, streamId)};
  if (!stream.places.emplace(&row, place).second) return;
  stream.rows.push_back(&row);
  auto* all = const_cast<Columns*>(std::as_const(*this).columns(streamId));
  if (all == nullptr) return;
  Lib::withType(row.valueType, [&](auto tag) {
    using T = typename decltype(tag)::Type;
    const Lib::NavField<T>* fields = row.fields<T>(record);
    for (std::uint32_t element = 0; element < row.count; ++element) all->template of<T>().push_back(fields + element);
  });
}

const ColumnPlace* Mode::find(std::uint32_t streamId, const SignalRow& row) const {
  const auto& places = streams_[streamId].places;
  const auto found = places.find(&row);
  return found == places.end() ? nullptr : &found->second;
}

void Mode::clear() {
  shared_ = {};
  for (Subscriptions& stream : streams_) {
    stream.rows.clear();
    stream.places.clear();
    if (stream.columns != nullptr) *stream.columns = {};
  }
}

RetainGrid retainGrid(Lib::Nano start, Lib::Nano end, const RetainSettings& settings) {
  // Wider than 64 bits, since a span of centuries times a bin limit of 2^30 goes beyond them.
  __extension__ using Wide = __int128;
  Wide width = settings.startInterval;
  if (width <= 0 || start < 0 || start >= end) return {};
  const Wide limit = Wide{1} << std::min(settings.retainBits, kMaxRetainBits);
  Wide first = 0;
  Wide last = 0;
  Wide bins = 0;
  const auto layOut = [&] {
    first = start / width * width;
    last = (end + width - 1) / width * width;
    bins = (last - first) / width + 1;
  };
  layOut();
  for (int round = 0; round < 10 && bins > limit; ++round) {
    width *= (limit + bins - 1) / limit;
    layOut();
  }
  if (limit * width > last - first) {
    const Wide excess = limit * width - (last - first);
    const Wide shift = excess / (2 * width) * width;
    if (first > shift) first -= shift;
  }
  return {static_cast<Lib::Nano>(first), static_cast<std::int64_t>(width)};
}

}  // namespace Kvex::Sto
