#pragma once

#include <chrono>
#include <cstdint>
#include <kvex/Error.h>
#include <kvex/Options.h>
#include <memory>
#include <stop_token>
#include <utility>

#include "front/OpenedFile.h"

namespace Kvex::Front {

/// One reading of a file: takes the place of the one before, cancels the store when its stop token says so, and reports
/// how far it is.
class Reading {
 public:
  Reading(std::shared_ptr<OpenedFile> file, const ReadOptions& options);
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  /// Throws `Superseded` and `Cancelled`: to be called before the store is used, and after it has ended early.
  void check() const;
  /// Calls the progress callback if some time has gone by since the last call.
  void report(double fraction);
  /// Does work of the store that reports its progress itself.
  void doWatched(const std::function<void()>& work) { Front::doWatched(file_->store, options_.progress, work); }

  OpenedFile& file() const { return *file_; }
  Sto::DataStore& store() const { return file_->store; }
  const ReadOptions& options() const { return options_; }

 private:
  struct Cancel {
    Reading* reading;
    void operator()() const;
  };
  using Clock = std::chrono::steady_clock;

  std::shared_ptr<OpenedFile> file_;
  ReadOptions options_;
  std::uint64_t number_;
  Clock::time_point reportedAt_;
  std::stop_callback<Cancel> cancelOnStop_;
};

}  // namespace Kvex::Front
