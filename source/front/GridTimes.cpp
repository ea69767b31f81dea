#include "front/GridTimes.h"

#include <algorithm>
#include <utility>

#include "front/NativeWalk.h"

namespace Kvex::Front {

namespace {

double fractionOf(Nano time, Span span) {
  const double whole = static_cast<double>(span.end) - static_cast<double>(span.start);
  return whole > 0 ? (static_cast<double>(time) - static_cast<double>(span.start)) / whole : 1.0;
}

class PeriodTimes : public GridTimes {
 public:
  PeriodTimes(Nano period, Span span) : period_(period), span_(span), next_(span.start) {}

  std::optional<Nano> next() override {
    if (ended_ || next_ >= span_.end) return std::nullopt;
    const Nano time = next_;
    ended_ = __builtin_add_overflow(next_, period_, &next_);
    return time;
  }
  double fraction() const override { return fractionOf(next_, span_); }

 private:
  Nano period_;
  Span span_;
  Nano next_;
  bool ended_ = false;
};

class ListedTimes : public GridTimes {
 public:
  explicit ListedTimes(std::vector<Nano> times) : times_(std::move(times)) {}

  std::optional<Nano> next() override {
    if (next_ == times_.size()) return std::nullopt;
    return times_[next_++];
  }
  double fraction() const override { return static_cast<double>(next_) / static_cast<double>(times_.size()); }

 private:
  std::vector<Nano> times_;
  std::size_t next_ = 0;
};

/// The rising times of a signal's samples. The store cannot walk for them and for the grid at the same time: they are
/// read in large pieces, each by a walk from the start.
class SampleTimes : public GridTimes {
 public:
  SampleTimes(Reading& reading, Signal signal)
      : reading_(reading),
        signals_{std::move(signal)},
        streamSpan_{reading.file().streams[signals_.front().stream()].start(),
                    reading.file().streams[signals_.front().stream()].end()} {}

  std::optional<Nano> next() override {
    if (next_ == piece_.size() && !ended_) readPiece();
    if (next_ == piece_.size()) return std::nullopt;
    return piece_[next_++];
  }
  bool needsSeek() override { return std::exchange(needsSeek_, false); }
  double fraction() const override { return next_ == 0 ? 0.0 : fractionOf(piece_[next_ - 1], streamSpan_); }

 private:
  static constexpr std::size_t kPieceTimes = std::size_t{1} << 20;

  void readPiece() {
    piece_.clear();
    next_ = 0;
    needsSeek_ = true;
    NativeWalk walk(reading_, signals_, NativeWalk::Detail::Value);
    std::uint64_t blocks = 0;
    while (piece_.size() < kPieceTimes) {
      if (!walk.nextBlock()) {
        ended_ = true;
        break;
      }
      if (++blocks <= blocksDone_) continue;
      std::uint64_t steps = 0;
      for (std::size_t i = 0; i < signals_.front().count(); ++i) steps |= walk.stepsOf(walk.elementOf(0) + i);
      forEachStep(steps, [&](std::size_t step) {
        const Nano time = walk.time(step);
        if (newest_ && time <= *newest_) return;
        newest_ = time;
        piece_.push_back(time);
      });
    }
    blocksDone_ = blocks;
    reading_.file().native.reset();
  }

  Reading& reading_;
  std::vector<Signal> signals_;
  Span streamSpan_;
  std::vector<Nano> piece_;
  std::size_t next_ = 0;
  std::uint64_t blocksDone_ = 0;
  std::optional<Nano> newest_;
  bool needsSeek_ = true;
  bool ended_ = false;
};

std::vector<Nano> cutTo(std::vector<Nano> times, const ReadOptions& options) {
  if (options.start) std::erase_if(times, [&](Nano time) { return time < *options.start; });
  if (options.end) std::erase_if(times, [&](Nano time) { return time >= *options.end; });
  return times;
}

}  // namespace

std::unique_ptr<GridTimes> gridTimes(const Grid& grid, Reading& reading) {
  const OpenedFile& file = reading.file();
  const ReadOptions& options = reading.options();
  if (grid.maxAge() && *grid.maxAge() < 0) {
    throw Error(ErrorCode::InvalidArgument, "the largest age of values must not be below 0", file.path);
  }
  if (grid.signal()) {
    return std::make_unique<SampleTimes>(reading, file.readable(SignalList(*grid.signal())).front());
  }
  if (grid.times()) {
    if (!std::ranges::is_sorted(*grid.times())) {
      throw Error(ErrorCode::InvalidArgument, "the times of a grid must not decrease", file.path);
    }
    return std::make_unique<ListedTimes>(cutTo(*grid.times(), options));
  }
  if (grid.period() <= 0) throw Error(ErrorCode::InvalidArgument, "the period of a grid must be above 0", file.path);
  const Span span{options.start.value_or(file.span.start), options.end.value_or(file.span.end)};
  return std::make_unique<PeriodTimes>(grid.period(), span);
}

}  // namespace Kvex::Front
