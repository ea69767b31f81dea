#include "Recording.h"

#include <algorithm>

namespace Kvex::Python {

Recording::Recording(const std::string& path, const OpenOptions& options, bool multiplexed)
    : first_(std::make_shared<File>(path, options)), multiplexed_(multiplexed), idle_{first_} {}

Recording::Lease Recording::lease() {
  {
    const std::lock_guard lock(lock_);
    if (!idle_.empty()) {
      Lease lease(shared_from_this(), std::move(idle_.back()));
      idle_.pop_back();
      return lease;
    }
  }
  return {shared_from_this(), std::make_shared<File>(first_->path())};
}

Recording::Lease::~Lease() {
  if (recording_ == nullptr) return;
  const std::lock_guard lock(recording_->lock_);
  recording_->idle_.push_back(std::move(file_));
}

std::vector<Signal> Recording::Lease::own(const std::vector<Signal>& signals) const {
  std::vector<Signal> result;
  for (const Signal& signal : signals) {
    const std::vector<Signal>& offered = file_->stream(signal.stream()).signals();
    const Signal& whole = *std::ranges::find(offered, signal.ordinal(), &Signal::ordinal);
    result.push_back(signal.element() ? whole.at(*signal.element()) : whole);
  }
  return result;
}

}  // namespace Kvex::Python
