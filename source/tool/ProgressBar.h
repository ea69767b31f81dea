#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "store/ProgressRing.h"

namespace Kvex::Tool {

/// Shows on standard error how far a long operation has come, if that is a terminal, from a thread of its own. The bar
/// comes after a moment and is gone without a trace at the end.
class ProgressBar {
 public:
  ProgressBar() = default;
  ~ProgressBar() { stop(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Shows what a store reports; this thread is then the one reader of `ring`, which must outlive the bar or its
  /// `stop`.
  void follow(Sto::ProgressSource& ring);
  /// Shows what `setPercent` tells, under this title. A ring that was followed is still read, and not shown.
  void begin(std::string title);
  void setPercent(double percent) { percent_.store(percent, std::memory_order_relaxed); }
  void stop();

 private:
  void start();
  void run();
  void paint(const std::string& title, double percent);

  std::thread thread_;
  std::mutex mutex_;  ///< Guards what follows, but for the percentage.
  std::condition_variable wake_;
  bool stopping_ = false;
  Sto::ProgressSource* ring_ = nullptr;
  std::string title_;
  std::atomic<double> percent_ = 0;
  bool painted_ = false;
};

}  // namespace Kvex::Tool
