#include "front/GridSource.h"

#include <map>

#include "front/SignalData.h"

namespace Kvex::Front {

GridSource::GridSource(std::shared_ptr<OpenedFile> file, const std::vector<Signal>& signals, const Grid& grid,
                       const ReadOptions& options)
    : reading_(std::move(file), options),
      times_(gridTimes(grid, reading_)),
      writer_("", signals, batchRows(rowBytes(signals, options), options), options),
      maxAge_(grid.maxAge()) {
  subscribe(signals);
}

void GridSource::subscribe(const std::vector<Signal>& signals) {
  Sto::DataStore& store = reading_.store();
  store.clearSubscriptions();
  std::map<const SignalAccess::Data*, std::size_t> firstSample;
  for (std::size_t i = 0; i < signals.size(); ++i) {
    const SignalAccess::Data& data = SignalAccess::of(signals[i]);
    const auto [place, isNew] = firstSample.emplace(&data, query_.columns().size());
    if (isNew) {
      // Signals that can be read can be subscribed.
      (void)store.subscribe(Sto::kDirectMode, data.listing);
      (void)store.addToQuery(query_, Sto::kDirectMode, data.listing);
    }
    const std::size_t sample = place->second + signals[i].element().value_or(0);
    Lib::withType(signals[i].type(), [&](auto tag) {
      places_.of<typename decltype(tag)::Type>().push_back({&writer_.columns()[i], sample});
    });
  }
}

bool GridSource::next(Batch& batch) {
  reading_.check();
  if (writer_.rows() > 0) writer_.restart();
  while (writer_.room() > 0) {
    const std::optional<Nano> time = times_->next();
    if (!time) break;
    read(*time);
    if (maxAge_) expire(*time);
    writer_.beginRow(*time);
    writeRow();
  }
  if (writer_.rows() == 0) {
    reading_.report(1.0);
    return false;
  }
  reading_.report(times_->fraction());
  batch = writer_.finish();
  return true;
}

void GridSource::read(Nano time) {
  Sto::DataStore& store = reading_.store();
  if (times_->needsSeek()) {
    reading_.doWatched([&] { (void)store.seekAll(time); });
    reading_.check();
  }
  if (store.readSamples(query_, time, samples_) == Sto::StoreStatus::Success) return;
  reading_.check();
}

void GridSource::expire(Nano time) {
  for (Lib::Sample& sample : samples_) {
    Nano oldest = 0;  // that a stamp may be; beyond 64 bits all may
    if (__builtin_sub_overflow(time, *maxAge_, &oldest)) oldest = INT64_MIN;
    if (sample.usable() && (sample.time < oldest || (sample.flags & Flag::kUntimed) != 0)) {
      sample.flags |= Flag::kExpired | Flag::kNotAvailable;
    }
  }
}

void GridSource::writeRow() {
  const std::size_t row = writer_.rows() - 1;
  const std::size_t byte = row >> 3;
  const auto bit = static_cast<std::uint8_t>(1U << (row & 7));
  Lib::forEachType([&](auto tag) {
    using T = typename decltype(tag)::Type;
    for (const Place& place : places_.of<T>()) {
      ColumnWriter& column = *place.column;
      const Lib::Sample* sample = &samples_[place.sample];
      column.present[byte] |= bit;
      if (column.offsets == nullptr) {
        column.putValue(row, sample->as<T>(), sample->flags, sample->time);
        column.validity[byte] |= sample->usable() ? bit : std::uint8_t{0};
        continue;
      }
      column.validity[byte] |= bit;
      for (const Lib::Sample* end = sample + column.count; sample != end; ++sample) {
        column.addElement(sample->as<T>(), true, sample->usable(), sample->flags, sample->time);
      }
    }
  });
}

}  // namespace Kvex::Front
