#include "front/NativeWalk.h"

#include <algorithm>
#include <map>

#include "front/SignalData.h"

namespace Kvex::Front {

namespace {

/// Blocks between two looks at the progress.
constexpr std::uint32_t kBlocksPerReport = 64;

}  // namespace

NativeWalk::NativeWalk(Reading& reading, const std::vector<Signal>& signals, Detail detail)
    : reading_(reading), span_{reading.options().start.value_or(INT64_MIN), reading.options().end.value_or(INT64_MAX)} {
  std::vector<Sto::SignalListing> listings;
  std::vector<std::size_t> walkedAs;  // by place in the list asked for
  std::map<const SignalAccess::Data*, std::size_t> walked;
  for (const Signal& signal : signals) {
    const SignalAccess::Data& data = SignalAccess::of(signal);
    const auto [place, isNew] = walked.emplace(&data, listings.size());
    if (isNew) listings.push_back(data.listing);
    walkedAs.push_back(place->second);
  }
  OpenedFile& file = reading.file();
  const std::uint32_t streamId = signals.front().stream();
  const Stream& stream = file.streams[streamId];
  streamSpan_ = {stream.start(), stream.end()};
  file.native.reset();
  file.native = file.store.openNative(streamId, listings, detail);
  reader_ = file.native.get();
  for (std::size_t asked = 0; asked < signals.size(); ++asked) {
    elements_.push_back(reader_->firstElement(walkedAs[asked]) + signals[asked].element().value_or(0));
  }
}

bool NativeWalk::nextBlock() {
  reading_.check();
  while (reader_->readBlock()) {
    if (++blocks_ % kBlocksPerReport == 0) report();
    steps_ = 0;
    const std::span<const Nano> times = reader_->times();
    for (std::size_t step = 0; step < times.size(); ++step) {
      // The largest time lies behind any end but the one that nobody asked for.
      const bool inside = times[step] >= span_.start && (times[step] < span_.end || span_.end == INT64_MAX);
      steps_ |= std::uint64_t{inside} << step;
    }
    if (steps_ != 0) return true;
  }
  reading_.check();
  reading_.report(1.0);
  return false;
}

void NativeWalk::report() {
  const double whole = static_cast<double>(streamSpan_.end) - static_cast<double>(streamSpan_.start);
  const double done = static_cast<double>(time(0)) - static_cast<double>(streamSpan_.start);
  reading_.report(whole > 0 ? std::min(done / whole, 0.999) : 0.0);
  reading_.check();
}

std::vector<StreamPart> partsByStream(const std::vector<Signal>& signals) {
  std::vector<StreamPart> parts;
  for (std::size_t place = 0; place < signals.size(); ++place) {
    auto part = std::ranges::find(parts, signals[place].stream(), &StreamPart::stream);
    if (part == parts.end()) part = parts.insert(parts.end(), {signals[place].stream(), {}, {}});
    part->signals.push_back(signals[place]);
    part->places.push_back(place);
  }
  return parts;
}

}  // namespace Kvex::Front
