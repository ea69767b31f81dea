#include <algorithm>
#include <bit>
#include <kvex/States.h>
#include <utility>

#include "front/StatesSource.h"
#include "front/Tally.h"

namespace Kvex {

namespace {

/// A state that began before the span is found by reading from the start of the data.
ReadOptions wholeStream(ReadOptions options) {
  options.start.reset();
  options.end.reset();
  return options;
}

}  // namespace

States::Source::Source(std::shared_ptr<Front::OpenedFile> file, const Signal& signal, const ReadOptions& options,
                       Gaps gaps)
    : reading_(std::move(file), wholeStream(options)),
      walk_(reading_, {signal}, Front::NativeWalk::Detail::FlagsAndStamp),
      type_(signal.type()),
      element_(walk_.elementOf(0)),
      span_{options.start.value_or(INT64_MIN), options.end.value_or(INT64_MAX)},
      streamEnd_(reading_.file().streams[signal.stream()].end()),
      gaps_(gaps),
      reached_(std::max(span_.start, reading_.file().streams[signal.stream()].start())),
      gapsEnd_(std::min(span_.end, streamEnd_)) {}

bool States::Source::next(State& state) {
  reading_.check();
  std::optional<State> read = waiting_ ? std::exchange(waiting_, std::nullopt) : readInside();
  const Nano gapEnd = read ? read->from : gapsEnd_;
  if (gaps_ == Gaps::Filled && reached_ < gapEnd) {
    state = {.from = reached_, .to = gapEnd};
    reached_ = gapEnd;
    waiting_ = read;
    return true;
  }
  if (!read) return false;
  state = *read;
  reached_ = state.to;
  return true;
}

std::optional<State> States::Source::readInside() {
  while (std::optional<State> read = readState()) {
    if (cut(*read)) return read;
  }
  return std::nullopt;
}

std::optional<State> States::Source::readState() {
  for (;;) {
    while (steps_ != 0) {
      const auto step = static_cast<std::size_t>(std::countr_zero(steps_));
      steps_ &= steps_ - 1;
      if (std::optional<State> done = take(step)) return done;
    }
    if (ended_) return std::nullopt;
    if (walk_.nextBlock()) {
      steps_ = walk_.stepsOf(element_);
      continue;
    }
    ended_ = true;
    if (current_) current_->to = std::max(current_->from, streamEnd_);
    return std::exchange(current_, std::nullopt);
  }
}

std::optional<State> States::Source::take(std::size_t step) {
  const Sto::NativeReader& samples = walk_.samples();
  Value value;
  bool isSame = false;
  if ((samples.usableSamples(element_) >> step & 1) != 0) {
    Lib::withType(type_, [&](auto tag) {
      using T = typename decltype(tag)::Type;
      const T number = samples.value<T>(element_, step);
      value = Value(number, samples.stamp(element_, step), samples.flags(element_, step));
      isSame = current_ && Front::same(current_->value.get<T>(), number);
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

bool States::Source::cut(State& state) const {
  const bool before = state.to < span_.start || (state.to == span_.start && state.from < span_.start);
  if (before || state.from >= span_.end) return false;
  state.from = std::max(state.from, span_.start);
  state.to = std::min(state.to, span_.end);
  return true;
}

States::States(std::unique_ptr<Source> source) : source_(std::move(source)) {}
States::States(States&&) noexcept = default;
States& States::operator=(States&&) noexcept = default;
States::~States() = default;

bool States::next() {
  return source_->next(state_);
}

const State& States::state() const {
  return state_;
}

}  // namespace Kvex
