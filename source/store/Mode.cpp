#include "store/Mode.h"

#include <algorithm>
#include <mutex>

namespace Kvex::Sto {

namespace {

/// More bins than this have no numbers.
constexpr std::uint32_t kMaxRetainBits = 62;

}  // namespace

std::uint32_t Mode::lengthOf(const ColumnBlock& block, ValueType type) {
  const std::shared_lock guard(block.lock);
  std::uint32_t length = 0;
  Lib::withType(type, [&](auto tag) { length = block.groups.of<typename decltype(tag)::Type>().length(); });
  return length;
}

void Mode::grow(ColumnBlock& block, const ColumnListing& listing) {
  const std::unique_lock guard(block.lock);
  Lib::withType(listing.valueType,
                [&](auto tag) { block.groups.of<typename decltype(tag)::Type>().grow(listing.count); });
}

std::uint32_t ModeDirect::columnCount(ValueType type, std::uint32_t) const {
  return lengthOf(columns, type);
}

bool ModeDirect::addColumns(std::uint32_t, const ColumnListing& listing) {
  grow(columns, listing);
  subscribed_.push_back(listing);
  return true;
}

ModeRetain::RetainBlock* ModeRetain::blockOf(std::uint32_t streamId) const {
  const std::shared_lock guard(listLock_);
  return streamId < blocks_.size() ? blocks_[streamId].get() : nullptr;
}

std::uint32_t ModeRetain::columnCount(ValueType type, std::uint32_t request) const {
  const RetainBlock* block = blockOf(request);
  return block == nullptr ? 0 : lengthOf(*block, type);
}

bool ModeRetain::addColumns(std::uint32_t request, const ColumnListing& listing) {
  if (RetainBlock* block = blockOf(request)) grow(*block, listing);
  subscribed_.push_back(listing);
  return true;
}

void ModeRetain::addStream(Lib::Nano start, Lib::Nano end) {
  const RetainGrid grid = retainGrid(start, end, settings_);
  if (grid.binWidth <= 0) return addEmptyStream();
  auto block = std::make_unique<RetainBlock>();
  block->grid = grid;
  block->start = start;
  block->end = end;
  const std::unique_lock guard(listLock_);
  block->owner = static_cast<std::uint32_t>(blocks_.size());
  blocks_.push_back(std::move(block));
}

void ModeRetain::addEmptyStream() {
  const std::unique_lock guard(listLock_);
  blocks_.push_back(nullptr);
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
