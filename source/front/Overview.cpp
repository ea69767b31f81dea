#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <kvex/Error.h>
#include <kvex/Overview.h>

#include "front/NativeWalk.h"
#include "front/OverviewData.h"
#include "front/Tally.h"

namespace Kvex {

namespace {

using Wide = __int128;

constexpr std::size_t kMaxSlices = 1'000'000;
constexpr std::size_t kMaxCells = std::size_t{1} << 24;

template <class T>
std::uint64_t bytesOf(T value) {
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, &value, sizeof value);
  return bytes;
}

template <class T>
T valueOf(std::uint64_t bytes) {
  T value;
  std::memcpy(&value, &bytes, sizeof value);
  return value;
}

template <class Cell, class T>
void addUsable(Cell& cell, T value) {
  const std::uint64_t bytes = bytesOf(value);
  if (cell.usable++ == 0) cell.first = bytes;
  cell.last = bytes;
  if (!Front::isNumber(value)) return;
  if (cell.numbers++ == 0) {
    cell.smallest = cell.largest = bytes;
  } else if (value < valueOf<T>(cell.smallest)) {
    cell.smallest = bytes;
  } else if (value > valueOf<T>(cell.largest)) {
    cell.largest = bytes;
  }
}

/// The span asked for, by default all times of the streams of these signals.
Span spanOf(const Front::Reading& reading, const std::vector<Signal>& signals) {
  Span span{INT64_MAX, INT64_MIN};
  for (const Signal& signal : signals) {
    const Stream& stream = reading.file().streams[signal.stream()];
    span.start = std::min(span.start, stream.start());
    span.end = std::max(span.end, stream.end() < INT64_MAX ? stream.end() + 1 : INT64_MAX);
  }
  return {reading.options().start.value_or(span.start), reading.options().end.value_or(span.end)};
}

/// Divides a span into slices whose widths differ by 1 ns at the most.
class Slicer {
 public:
  Slicer(Span span, std::size_t slices) : span_(span), slices_(slices) {}

  Nano start(std::size_t slice) const {
    return static_cast<Nano>(span_.start + whole() * static_cast<Wide>(slice) / static_cast<Wide>(slices_));
  }

  /// The slice of a time; the first or the last one for a time outside.
  std::size_t sliceAt(Nano time) {
    if (time < current_.start || time >= current_.end) find(time);
    return slice_;
  }

 private:
  Wide whole() const { return static_cast<Wide>(span_.end) - span_.start; }

  void find(Nano time) {
    const Nano inside = std::clamp(time, span_.start, span_.end - 1);
    const Wide behindStart = static_cast<Wide>(inside) - span_.start;
    slice_ = static_cast<std::size_t>(((behindStart + 1) * static_cast<Wide>(slices_) - 1) / whole());
    current_ = {start(slice_), start(slice_ + 1)};
  }

  Span span_;
  std::size_t slices_;
  std::size_t slice_ = 0;
  Span current_{0, 0};  ///< Of the slice found last; none yet.
};

/// Shows an overview to its watcher a few times a second.
class Watch {
 public:
  explicit Watch(const OverviewWatcher& watcher) : watcher_(watcher) {}

  void show(const Overview& overview) {
    if (!watcher_ || ++blocks_ % kBlocksBetween != 0) return;
    const Clock::time_point now = Clock::now();
    if (now - shown_ < kPause) return;
    watcher_(overview);
    shown_ = Clock::now();
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::uint32_t kBlocksBetween = 64;  ///< Looking at the clock takes time too.
  static constexpr std::chrono::milliseconds kPause{250};

  const OverviewWatcher& watcher_;
  std::uint32_t blocks_ = 0;
  Clock::time_point shown_ = Clock::now();
};

}  // namespace

Overview OverviewAccess::read(Front::Reading& reading, const std::vector<Signal>& elements, std::size_t slices,
                              const OverviewWatcher& watcher) {
  const Span span = spanOf(reading, elements);
  const auto fail = [&](const char* reason) { throw Error(ErrorCode::InvalidArgument, reason, reading.file().path); };
  if (slices == 0 || slices > kMaxSlices) fail("an overview has 1 to 1000000 slices");
  if (slices * elements.size() > kMaxCells) fail("an overview of so many signals cannot have so many slices");
  if (span.start >= span.end) fail("the span of an overview must not be empty");

  auto data = std::make_shared<Overview::Data>();
  data->slices = slices;
  data->span = span;
  data->cells.resize(slices * elements.size());
  data->signals = elements;
  Overview overview(data);
  Watch watch(watcher);
  for (const Front::StreamPart& part : Front::partsByStream(elements)) {
    Front::NativeWalk walk(reading, part.signals, Front::NativeWalk::Detail::Value);
    Slicer slicer(span, slices);
    std::array<std::size_t, Sto::NativeReader::kBlockSteps> sliceOf{};
    while (walk.nextBlock()) {
      Front::forEachStep(walk.steps(), [&](std::size_t step) { sliceOf[step] = slicer.sliceAt(walk.time(step)); });
      for (std::size_t asked = 0; asked < part.signals.size(); ++asked) {
        const std::size_t element = walk.elementOf(asked);
        Overview::Data::Cell* const cells = &data->cells[part.places[asked] * slices];
        Lib::withType(part.signals[asked].type(), [&](auto tag) {
          using T = typename decltype(tag)::Type;
          const std::uint64_t usable = walk.samples().usableSamples(element);
          Front::forEachStep(walk.stepsOf(element), [&](std::size_t step) {
            Overview::Data::Cell& cell = cells[sliceOf[step]];
            ++cell.samples;
            if ((usable >> step & 1) != 0) addUsable(cell, walk.samples().template value<T>(element, step));
          });
        });
      }
      watch.show(overview);
    }
  }
  return overview;
}

const std::vector<Signal>& Overview::signals() const {
  return data_->signals;
}

std::size_t Overview::slices() const {
  return data_->slices;
}

Span Overview::span() const {
  return data_->span;
}

Nano Overview::sliceStart(std::size_t slice) const {
  return Slicer(data_->span, data_->slices).start(slice);
}

Slice Overview::at(std::size_t signal, std::size_t slice) const {
  const Data::Cell& cell = data_->cells[signal * data_->slices + slice];
  Slice result{.samples = cell.samples, .usable = cell.usable};
  Lib::withType(data_->signals[signal].type(), [&](auto tag) {
    using T = typename decltype(tag)::Type;
    if (cell.usable > 0) {
      result.first = Value(valueOf<T>(cell.first));
      result.last = Value(valueOf<T>(cell.last));
    }
    if (cell.numbers > 0) {
      result.smallest = Value(valueOf<T>(cell.smallest));
      result.largest = Value(valueOf<T>(cell.largest));
    }
  });
  return result;
}

}  // namespace Kvex
