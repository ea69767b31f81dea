#include <kvex/States.h>
#include <utility>

#include "front/StatesSource.h"

namespace Kvex {

States::Source::Source(std::shared_ptr<Front::OpenedFile> file, const Signal& signal, const ReadOptions& options,
                       Front::StateGaps gaps)
    : reading_(std::move(file), Front::wholeStream(options)),
      walk_(reading_, {signal}, Front::NativeWalk::Detail::FlagsAndStamp),
      follower_(walk_, 0, signal, reading_.file().streams[signal.stream()], options, gaps) {}

bool States::Source::next(State& state) {
  reading_.check();
  for (;;) {
    if (const std::optional<State> read = follower_.next()) {
      state = *read;
      return true;
    }
    if (ended_) return false;
    if (walk_.nextBlock()) {
      follower_.beginBlock();
    } else {
      ended_ = true;
      follower_.end();
    }
  }
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
