#include "tool/ProgressBar.h"

#include <chrono>
#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

#include "tool/Interrupt.h"

namespace Kvex::Tool {

namespace {

constexpr std::chrono::milliseconds kInterval{100};
constexpr int kDelay = 3;  ///< Intervals before the bar comes.
constexpr int kWidth = 40;

const char* titleOf(Sto::Phase phase) {
  switch (phase) {
    case Sto::Phase::Identification:
      return "Finding streams";
    case Sto::Phase::FirstPass:
      return "Finding start times";
    case Sto::Phase::SecondPass:
      return "Reading";
    case Sto::Phase::RangeStreams:
    case Sto::Phase::FirstRangePass:
    case Sto::Phase::SecondRangePass:
      return "Reading sources";
    case Sto::Phase::Seek:
      return "Seeking";
    default:
      return "Working";
  }
}

}  // namespace

void ProgressBar::follow(Sto::ProgressSource& ring) {
  {
    const std::lock_guard guard(mutex_);
    ring_ = &ring;
    title_.clear();
  }
  start();
}

void ProgressBar::begin(std::string title) {
  {
    const std::lock_guard guard(mutex_);
    title_ = std::move(title);
    setPercent(0);
  }
  start();
}

void ProgressBar::start() {
  if (thread_.joinable() || ::isatty(STDERR_FILENO) == 0) return;
  stopping_ = false;
  const SignalsBlocked blocked;
  thread_ = std::thread([this] { run(); });
}

void ProgressBar::stop() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard guard(mutex_);
    stopping_ = true;
  }
  wake_.notify_one();
  thread_.join();
  ring_ = nullptr;
}

void ProgressBar::run() {
  Sto::ProgressRecord newest{-1, Sto::Phase::None, 0};
  std::unique_lock lock(mutex_);
  for (int interval = 0; !wake_.wait_for(lock, kInterval, [this] { return stopping_; }); ++interval) {
    while (ring_ != nullptr) {
      const auto record = ring_->take();
      if (!record) break;
      newest = *record;
    }
    if (interval < kDelay) continue;
    if (title_.empty()) {
      paint(titleOf(newest.phase), newest.percent);
    } else {
      paint(title_, percent_.load(std::memory_order_relaxed));
    }
  }
  if (painted_) std::fputs("\r\033[K", stderr);
  painted_ = false;
}

void ProgressBar::paint(const std::string& title, double percent) {
  const double shown = percent >= 0 ? std::min(percent, 100.0) : 0.0;
  const std::string bar(static_cast<std::size_t>(shown / 100 * kWidth), '#');
  fmt::print(stderr, "\r\033[K{:<20} [{:<{}}] {:3.0f} %", title, bar, kWidth, shown);
  std::fflush(stderr);
  painted_ = true;
}

}  // namespace Kvex::Tool
