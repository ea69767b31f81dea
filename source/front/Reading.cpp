#include "front/Reading.h"

#include <algorithm>

namespace Kvex::Front {

namespace {

constexpr std::chrono::milliseconds kProgressInterval{100};

}  // namespace

Reading::Reading(std::shared_ptr<OpenedFile> file, const ReadOptions& options)
    : file_(std::move(file)),
      options_(options),
      number_([this] {
        const std::lock_guard lock(file_->readingLock);
        file_->native.reset();
        file_->store.clearCancel();
        file_->store.setMultiplexed(options_.multiplexed);
        return ++file_->newestReading;
      }()),
      reportedAt_(Clock::now()),
      cancelOnStop_(options.stop, Cancel{this}) {}

void Reading::Cancel::operator()() const {
  const std::lock_guard lock(reading->file_->readingLock);
  if (reading->file_->newestReading == reading->number_) reading->file_->store.cancel();
}

void Reading::check() const {
  if (file_->newestReading != number_) {
    throw Error(ErrorCode::Superseded, "a later reading has taken the place of this one", file_->path);
  }
  if (options_.stop.stop_requested()) throw Error(ErrorCode::Cancelled, "reading was cancelled", file_->path);
}

void Reading::report(double fraction) {
  if (!options_.progress) return;
  const Clock::time_point now = Clock::now();
  if (fraction < 1.0 && now - reportedAt_ < kProgressInterval) return;
  reportedAt_ = now;
  options_.progress({Activity::Reading, std::clamp(fraction, 0.0, 1.0)});
}

}  // namespace Kvex::Front
