#include "front/EventSearch.h"

#include <algorithm>
#include <cstdio>
#include <kvex/Error.h>
#include <optional>
#include <string>
#include <tuple>

#include "front/EventRules.h"
#include "front/GapFinder.h"
#include "front/NativeWalk.h"
#include "front/Reading.h"
#include "front/Tally.h"

namespace Kvex::Front {

namespace {

constexpr std::size_t kMaxChanges = 1'000'000;

/// A signal with the value that it had last.
struct Watched {
  Signal signal;
  const EventRule* rule = nullptr;
  Value last;            ///< Without type before the first usable value.
  bool pulsing = false;  ///< Of a count of pulses: whether the last value was a new one.
  bool known = false;    ///< Whether that is known.
};

/// Calls `visitor(step, before, after, isNew)` for each usable sample of a block.
template <class Visitor>
void forEachUsable(Watched& watched, const NativeWalk& walk, std::size_t element, Visitor&& visitor) {
  const Sto::NativeReader& samples = walk.samples();
  const std::uint64_t steps = walk.stepsOf(element) & samples.usableSamples(element);
  if (steps == 0) return;
  Lib::withType(watched.signal.type(), [&](auto tag) {
    using T = typename decltype(tag)::Type;
    forEachStep(steps, [&](std::size_t step) {
      const T number = samples.value<T>(element, step);
      const bool isNew = watched.last.type() == ValueType::None || !same(watched.last.get<T>(), number);
      const Value after(number, samples.stamp(element, step), samples.flags(element, step));
      visitor(step, watched.last, after, isNew);
      watched.last = after;
    });
  });
}

/// Whether a new value is a change: a first value is none, but for a count of something that happened in `span`.
bool isChange(const EventRule* rule, const Value& before, const Value& after, Nano start) {
  if (before.type() != ValueType::None) return true;
  return rule != nullptr && rule->form == EventForm::Count && after.stamp() >= start;
}

/// What was found, without its text.
struct Found {
  Nano time = kNoTime;
  Nano record = kNoTime;
  std::uint32_t stream = UINT32_MAX;  ///< `UINT32_MAX` for none.
  std::uint64_t number = 0;           ///< In the order of finding.
  EventKind kind = EventKind::Gap;
  std::size_t source = 0;  ///< The place of its signal, of the gap's period, or of the damage.
  Value before;
  Value after;

  auto order() const { return std::tuple(time, stream, number); }
};

/// Keeps the first events in order of time, however many there are.
class FirstEvents {
 public:
  explicit FirstEvents(const EventOptions& options) : options_(options) {}

  void add(Found event) {
    const bool isTimed = event.time != kNoTime;
    if (options_.start && (!isTimed || event.time < *options_.start)) return;
    if (options_.end && (!isTimed || event.time >= *options_.end)) return;
    event.number = inAll_++;
    if (options_.limit == 0) return;
    events_.push_back(event);
    if (events_.size() >= kKept * options_.limit) keepFirst();
  }

  /// In order.
  const std::vector<Found>& settle() {
    std::ranges::sort(events_, {}, &Found::order);
    if (events_.size() > options_.limit) events_.resize(options_.limit);
    return events_;
  }
  std::uint64_t inAll() const { return inAll_; }

 private:
  static constexpr std::size_t kKept = 2;

  void keepFirst() {
    const auto end = events_.begin() + static_cast<std::ptrdiff_t>(options_.limit);
    std::ranges::nth_element(events_, end, {}, &Found::order);
    events_.erase(end, events_.end());
  }

  const EventOptions& options_;
  std::vector<Found> events_;
  std::uint64_t inAll_ = 0;
};

/// "3.1 s", "0.06 s".
std::string secondsText(std::uint64_t nanos) {
  char text[48];
  std::snprintf(text, sizeof text, "%.7g s", static_cast<double>(nanos) * 1e-9);
  return text;
}

class EventSearch {
 public:
  EventSearch(const std::shared_ptr<OpenedFile>& file, const EventOptions& options)
      : file_(file), options_(options), events_(options) {}

  Events find() {
    for (const std::uint32_t id : options_.streams) {
      if (id >= file_->streams.size()) file_->finder().failNoStream(id);
    }
    for (const Stream& stream : file_->streams) {
      if (stream.hasTime() && wantsStream(stream.id())) walk(stream);
    }
    if (wants(EventKind::Damage)) addDamage();
    Events result;
    for (const Found& found : events_.settle()) result.list.push_back(eventOf(found));
    result.inAll = events_.inAll();
    return result;
  }

 private:
  bool wants(EventKind kind) const {
    return options_.kinds.empty() || std::ranges::find(options_.kinds, kind) != options_.kinds.end();
  }
  bool wantsStream(std::uint32_t id) const {
    return options_.streams.empty() || std::ranges::find(options_.streams, id) != options_.streams.end();
  }

  void walk(const Stream& stream) {
    const std::size_t firstWatched = watched_.size();
    std::vector<Signal> signals;
    for (const Signal& signal : stream.signals()) {
      const EventRule* rule = eventRule(stream, signal);
      if (rule == nullptr || !wants(rule->kind)) continue;
      signals.push_back(signal);
      watched_.push_back({.signal = signal, .rule = rule});
    }
    if (!wants(EventKind::Gap) && signals.empty()) return;
    // The times of all packets come with any signal.
    if (signals.empty() && !stream.signals().empty()) signals.push_back(stream.signals().front());
    if (signals.empty()) return;
    if (!reading_) reading_.emplace(file_, ReadOptions{.progress = options_.progress, .stop = options_.stop});
    NativeWalk walk(*reading_, signals, NativeWalk::Detail::FlagsAndStamp);
    GapFinder gaps(options_.limit);
    while (walk.nextBlock()) {
      for (std::size_t i = firstWatched; i < watched_.size(); ++i) {
        addSamples(walk, i, walk.elementOf(i - firstWatched), stream);
      }
      if (wants(EventKind::Gap)) forEachStep(walk.steps(), [&](std::size_t step) { gaps.add(walk.time(step)); });
    }
    for (const GapFinder::Gap& gap : gaps.gaps()) {
      events_.add({.time = gap.from,
                   .record = gap.to,
                   .stream = stream.id(),
                   .kind = EventKind::Gap,
                   .source = static_cast<std::size_t>(*gaps.period())});
    }
  }

  void addSamples(const NativeWalk& walk, std::size_t place, std::size_t element, const Stream& stream) {
    Watched& watched = watched_[place];
    forEachUsable(watched, walk, element, [&](std::size_t step, const Value& before, const Value& after, bool isNew) {
      if (!happens(watched, before, after, isNew, stream.start())) return;
      events_.add({.time = after.stamp(),
                   .record = walk.time(step),
                   .stream = stream.id(),
                   .kind = watched.rule->kind,
                   .source = place,
                   .before = before,
                   .after = after});
    });
  }

  static bool happens(Watched& watched, const Value& before, const Value& after, bool isNew, Nano start) {
    if (watched.rule->form != EventForm::Pulses) return isNew && isChange(watched.rule, before, after, start);
    if (before.type() == ValueType::None) return false;
    const bool turns = watched.known && watched.pulsing != isNew;
    watched.known = true;
    watched.pulsing = isNew;
    return turns;
  }

  void addDamage() {
    const std::vector<Place>& places = file_->damage->places();
    for (std::size_t i = 0; i < places.size(); ++i) {
      const Place& place = places[i];
      if (!options_.streams.empty() && !(place.stream && wantsStream(*place.stream))) continue;
      events_.add({.time = place.from != kNoTime ? place.from : place.to,
                   .record = place.to,
                   .stream = place.stream.value_or(UINT32_MAX),
                   .kind = EventKind::Damage,
                   .source = i});
    }
  }

  Event eventOf(const Found& found) const {
    Event event{.time = found.time,
                .stream = found.stream == UINT32_MAX ? std::nullopt : std::optional(found.stream),
                .kind = found.kind,
                .text = {},
                .record = found.record,
                .signal = {},
                .before = found.before,
                .after = found.after};
    if (found.kind == EventKind::Gap) {
      const auto length = static_cast<std::uint64_t>(found.record) - static_cast<std::uint64_t>(found.time);
      event.text = "no packet for " + secondsText(length) + ", usually one each " + secondsText(found.source);
    } else if (found.kind == EventKind::Damage) {
      event.text = file_->damage->places()[found.source].text;
    } else {
      const Watched& watched = watched_[found.source];
      event.text = eventText(*watched.rule, watched.signal, found.before, found.after);
      event.signal = watched.signal.name();
    }
    return event;
  }

  const std::shared_ptr<OpenedFile>& file_;
  const EventOptions& options_;
  std::optional<Reading> reading_;
  std::vector<Watched> watched_;
  FirstEvents events_;
};

}  // namespace

Events findEvents(const std::shared_ptr<OpenedFile>& file, const EventOptions& options) {
  return EventSearch(file, options).find();
}

std::vector<Change> findChanges(const std::shared_ptr<OpenedFile>& file, const Signal& signal,
                                const ReadOptions& options) {
  // A change within the span is one of the value before the span too.
  ReadOptions whole = options;
  whole.start.reset();
  whole.end.reset();
  Reading reading(file, whole);
  NativeWalk walk(reading, {signal}, NativeWalk::Detail::FlagsAndStamp);
  const Stream& stream = file->streams[signal.stream()];
  Watched watched{.signal = signal, .rule = eventRule(stream, signal)};
  std::vector<Change> changes;
  while (walk.nextBlock()) {
    forEachUsable(watched, walk, walk.elementOf(0),
                  [&](std::size_t step, const Value& before, const Value& after, bool isNew) {
                    if (!isNew || !isChange(watched.rule, before, after, stream.start())) return;
                    const Nano record = walk.time(step);
                    if (record < options.start.value_or(INT64_MIN)) return;
                    if (options.end && record >= *options.end) return;
                    if (changes.size() == kMaxChanges) {
                      throw Error(ErrorCode::InvalidArgument,
                                  "\"" + signal.qualifiedName() + "\" changes more than a million times", file->path);
                    }
                    changes.push_back({after.stamp(), record, before, after});
                  });
  }
  return changes;
}

}  // namespace Kvex::Front
