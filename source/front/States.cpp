#include <algorithm>
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

States::Source::Source(std::shared_ptr<Front::OpenedFile> file, const Signal& signal, const ReadOptions& options)
    : reading_(std::move(file), wholeStream(options)),
      walk_(reading_, {signal}),
      span_{options.start.value_or(INT64_MIN), options.end.value_or(INT64_MAX)},
      streamEnd_(reading_.file().streams[signal.stream()].end()) {}

bool States::Source::next(State& state) {
  reading_.check();
  while (std::optional<State> read = readState()) {
    state = *read;
    if (cut(state)) return true;
  }
  return false;
}

std::optional<State> States::Source::readState() {
  while (!ended_) {
    if (!walk_.step()) {
      ended_ = true;
      if (!current_) return std::nullopt;
      current_->to = std::max(current_->from, streamEnd_);
      return std::exchange(current_, std::nullopt);
    }
    std::optional<State> done;
    walk_.visit([&](std::span<const Front::NativeWalk::Use> uses, const auto& fields) {
      const auto& field = fields[uses.front().element];
      if ((field.flags & Flag::kUntimed) == 0) done = take(walk_.time(), field);
    });
    if (done) return done;
  }
  return std::nullopt;
}

template <class T>
std::optional<State> States::Source::take(Nano time, const Lib::NavField<T>& field) {
  if (current_ && field.usable() && Front::same(current_->value.get<T>(), field.value)) {
    ++current_->samples;
    return std::nullopt;
  }
  std::optional<State> done = std::exchange(current_, std::nullopt);
  if (done) done->to = std::max(done->from, time);
  if (field.usable()) {
    current_ = State{.value = Value(field.value, field.stamp, field.flags), .from = time, .to = time, .samples = 1};
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
