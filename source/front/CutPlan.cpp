#include "front/CutPlan.h"

#include <algorithm>
#include <unordered_map>

#include "library/Wrapping.h"

namespace Kvex::Front {

namespace {

/// Of packets that came ahead of the start, so much is always taken: what is worked out from two packets needs both.
constexpr Nano kLeastLead = kNanosPerSecond;

/// A time and the place of the first packet at which the clock has reached it.
struct Mark {
  Nano time;
  std::optional<std::uint64_t> place;

  void pass(Nano clock, std::uint64_t packet) {
    if (!place && clock >= time) place = packet;
  }
};

Nano before(Nano time, Nano distance) {
  return time < INT64_MIN + distance ? INT64_MIN : time - distance;
}

class TimeSum {
 public:
  void add(Nano time) { sum_ = (sum_ ^ static_cast<std::uint64_t>(time)) * 0x100000001B3 + 1; }
  std::uint64_t value() const { return sum_; }

 private:
  std::uint64_t sum_ = 0xCBF29CE484222325;
};

/// Follows a stream to its start, its end and what was sent before.
class Planner {
 public:
  explicit Planner(const CutSpan& span)
      : span_(span),
        earliest_{before(span.start, span.lead.value_or(CutSpan::kMostLead)), {}},
        least_{before(span.start, std::min(kLeastLead, span.lead.value_or(kLeastLead))), {}},
        start_{span.start, {}},
        end_{span.end, {}} {}

  void take(const Sto::Stream& stream, Lib::ByteView packet, Nano clock) {
    for (Mark* mark : {&earliest_, &least_, &start_, &end_}) mark->pass(clock, packets_);
    if (start_.place) {
      times_.add(clock);
      const bool inside = clock >= span_.start && clock < span_.end;
      if (inside || !end_.place || end_.place == packets_) {
        last_ = packets_;
        timesToLast_ = times_.value();
      }
    } else {
      kinds_.clear();
      stream.addKinds(packet, kinds_);
      for (const std::uint64_t kind : kinds_) {
        Newest& newest = newest_[kind];
        newest = {packets_, newest.seen ? newest.place : packets_, clock, true};
      }
    }
    ++packets_;
  }

  void settle(StreamPlan& plan) const {
    const std::uint64_t start = start_.place.value_or(packets_);
    const std::uint64_t earliest = earliest_.place.value_or(packets_);
    std::uint64_t first = std::min(start, span_.lead ? earliest : least_.place.value_or(packets_));
    for (const auto& [kind, newest] : newest_) {
      if (newest.place < earliest) {
        plan.losesKinds = true;
      } else if (!span_.lead) {
        first = std::min(first, newest.previous >= earliest ? newest.previous : newest.place);
      }
    }
    plan.range = {first, start_.place ? last_ + 1 : packets_};
    plan.ahead = start - first;
    plan.times = timesToLast_;
  }

 private:
  /// The newest packet of a kind, and the one before: what it means may depend on those of other kinds, each of which
  /// has then come at least once before it.
  struct Newest {
    std::uint64_t place = 0;
    std::uint64_t previous = 0;
    Nano time = 0;
    bool seen = false;
  };

  CutSpan span_;
  Mark earliest_;
  Mark least_;
  Mark start_;
  Mark end_;
  std::uint64_t packets_ = 0;
  std::uint64_t last_ = 0;  ///< The last packet that the cut needs, as far as the stream has been followed.
  TimeSum times_;
  std::uint64_t timesToLast_ = TimeSum().value();
  std::vector<std::uint64_t> kinds_;
  std::unordered_map<std::uint64_t, Newest> newest_;  ///< Ahead of the start, by kind.
};

}  // namespace

namespace {

/// Walks over all packets of a stream; progress is that of its time.
template <class Visitor>
void walk(OpenedFile& file, const Stream& stream, WriteWatch& watch, Visitor&& visitor) {
  constexpr unsigned kPacketsPerCheck = 4096;
  const double length = std::max(1.0, static_cast<double>(stream.end()) - static_cast<double>(stream.start()));
  unsigned packets = 0;
  file.store.walkPackets(stream.id(), [&](const Sto::Stream& walked, Lib::ByteView packet, Nano clock) {
    visitor(walked, packet, clock);
    if (++packets % kPacketsPerCheck == 0) {
      watch.check();
      watch.moved((static_cast<double>(clock) - static_cast<double>(stream.start())) / length);
    }
    return true;
  });
  watch.endPass();
}

}  // namespace

StreamPlan planStream(OpenedFile& file, const Stream& stream, const CutSpan& span, WriteWatch& watch) {
  StreamPlan plan{.id = stream.id(), .serial = stream.serial()};
  Planner planner(span);
  walk(file, stream, watch,
       [&](const Sto::Stream& walked, Lib::ByteView packet, Nano clock) { planner.take(walked, packet, clock); });
  planner.settle(plan);
  return plan;
}

std::uint64_t timesBehind(OpenedFile& file, const Stream& stream, std::uint64_t ahead, WriteWatch& watch) {
  TimeSum times;
  walk(file, stream, watch, [&](const Sto::Stream&, Lib::ByteView, Nano clock) {
    if (ahead > 0) {
      --ahead;
    } else {
      times.add(clock);
    }
  });
  return times.value();
}

}  // namespace Kvex::Front
