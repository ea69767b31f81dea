#include "front/NativeWalk.h"

#include <algorithm>
#include <map>

#include "front/SignalData.h"

namespace Kvex::Front {

namespace {

/// Steps between two looks at the progress.
constexpr std::uint32_t kStepsPerReport = 4096;

}  // namespace

NativeWalk::NativeWalk(Reading& reading, const std::vector<Signal>& signals)
    : reading_(reading), span_{reading.options().start.value_or(INT64_MIN), reading.options().end.value_or(INT64_MAX)} {
  std::vector<Sto::SignalListing> listings;
  std::vector<std::vector<Use>> uses;
  std::map<const SignalAccess::Data*, std::size_t> walked;
  for (std::uint32_t asked = 0; asked < signals.size(); ++asked) {
    const Signal& signal = signals[asked];
    const SignalAccess::Data& data = SignalAccess::of(signal);
    const auto [place, isNew] = walked.emplace(&data, listings.size());
    if (isNew) {
      listings.push_back(data.listing);
      uses.emplace_back();
    }
    uses[place->second].push_back({asked, signal.element().value_or(0), signal.isArray()});
  }
  for (const std::vector<Use>& ofSignal : uses) {
    firstUse_.push_back(static_cast<std::uint32_t>(uses_.size()));
    uses_.insert(uses_.end(), ofSignal.begin(), ofSignal.end());
  }
  firstUse_.push_back(static_cast<std::uint32_t>(uses_.size()));

  OpenedFile& file = reading.file();
  const std::uint32_t streamId = signals.front().stream();
  const Stream& stream = file.streams[streamId];
  streamSpan_ = {stream.start(), stream.end()};
  file.native.reset();
  file.native = file.store.openNative(streamId, listings);
  reader_ = file.native.get();
}

bool NativeWalk::step() {
  while (reader_->advance()) {
    if (++steps_ % kStepsPerReport == 0) tell();
    const Nano time = reader_->time();
    if (time >= span_.start && time < span_.end) return true;
    if (span_.end == INT64_MAX && time == INT64_MAX) return true;  // no end was asked for
    reader_->visitSamples([](std::uint32_t, const auto&) {});
  }
  reading_.check();
  reading_.tell(1.0);
  return false;
}

void NativeWalk::tell() {
  const double whole = static_cast<double>(streamSpan_.end) - static_cast<double>(streamSpan_.start);
  const double done = static_cast<double>(reader_->time()) - static_cast<double>(streamSpan_.start);
  reading_.tell(whole > 0 ? std::min(done / whole, 0.999) : 0.0);
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
