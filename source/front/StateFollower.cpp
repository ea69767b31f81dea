#include "front/StateFollower.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "front/Tally.h"

namespace Kvex::Front {

StateFollower::StateFollower(const NativeWalk& walk, std::size_t asked, const Signal& signal, const Stream& stream,
                             const ReadOptions& options, StateGaps gaps)
    : walk_(walk),
      type_(signal.type()),
      element_(walk.elementOf(asked)),
      span_{options.start.value_or(INT64_MIN), options.end.value_or(INT64_MAX)},
      streamEnd_(stream.end()),
      gaps_(gaps),
      reached_(std::max(span_.start, stream.start())),
      gapsEnd_(std::min(span_.end, streamEnd_)) {}

std::optional<State> StateFollower::next() {
  std::optional<State> read = waiting_ ? std::exchange(waiting_, std::nullopt) : nextInside();
  if (!read && !ended_) return std::nullopt;
  const Nano gapEnd = read ? read->from : gapsEnd_;
  if (gaps_ == StateGaps::Filled && reached_ < gapEnd) {
    waiting_ = read;
    return State{.from = std::exchange(reached_, gapEnd), .to = gapEnd};
  }
  if (read) reached_ = read->to;
  return read;
}

std::optional<State> StateFollower::nextInside() {
  while (std::optional<State> read = nextWhole()) {
    if (cut(*read)) return read;
  }
  return std::nullopt;
}

std::optional<State> StateFollower::nextWhole() {
  while (steps_ != 0) {
    const auto step = static_cast<std::size_t>(std::countr_zero(steps_));
    steps_ &= steps_ - 1;
    if (std::optional<State> done = take(step)) return done;
  }
  if (!ended_) return std::nullopt;
  if (current_) current_->to = std::max(current_->from, streamEnd_);
  return std::exchange(current_, std::nullopt);
}

std::optional<State> StateFollower::take(std::size_t step) {
  const Sto::NativeReader& samples = walk_.samples();
  Value value;
  bool isSame = false;
  if ((samples.usableSamples(element_) >> step & 1) != 0) {
    Lib::withType(type_, [&](auto tag) {
      using T = typename decltype(tag)::Type;
      const T number = samples.value<T>(element_, step);
      value = Value(number, samples.stamp(element_, step), samples.flags(element_, step));
      isSame = current_ && same(current_->value.get<T>(), number);
    });
  }
  if (isSame) {
    ++current_->samples;
    return std::nullopt;
  }
  const Nano time = walk_.time(step);
  std::optional<State> done = std::exchange(current_, std::nullopt);
  if (done) done->to = std::max(done->from, time);
  if (value.type() != ValueType::None) {
    current_ = State{.value = value, .from = time, .to = time, .samples = 1};
  }
  return done;
}

bool StateFollower::cut(State& state) const {
  const bool before = state.to < span_.start || (state.to == span_.start && state.from < span_.start);
  if (before || state.from >= span_.end) return false;
  state.from = std::max(state.from, span_.start);
  state.to = std::min(state.to, span_.end);
  return true;
}

ReadOptions wholeStream(ReadOptions options) {
  options.start.reset();
  options.end.reset();
  return options;
}

}  // namespace Kvex::Front
