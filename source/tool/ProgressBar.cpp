#include "tool/ProgressBar.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

namespace Kvex::Tool {

namespace {

constexpr std::chrono::milliseconds kInterval{100};
constexpr std::chrono::milliseconds kDelay{400};  ///< Until the bar comes.
constexpr int kWidth = 40;

}  // namespace

std::string_view titleOf(Activity activity) {
  switch (activity) {
    case Activity::Identification:
      return "Finding streams";
    case Activity::FirstPass:
      return "Finding start times";
    case Activity::SecondPass:
      return "Reading";
    case Activity::Seek:
      return "Seeking";
    case Activity::Reading:
      return "Exporting";
  }
  return "Working";
}

std::string barText(std::string_view title, double fraction) {
  const double shown = fraction >= 0 ? std::min(fraction, 1.0) : 0.0;
  const std::string bar(static_cast<std::size_t>(shown * kWidth), '#');
  return fmt::format("{:<20} [{:<{}}] {:3.0f} %", title, bar, kWidth, shown * 100);
}

ProgressBar::ProgressBar() : isTerminal_(::isatty(STDERR_FILENO) != 0), nextPaint_(Clock::now() + kDelay) {}

ProgressCallback ProgressBar::callback() {
  if (!isTerminal_) return {};
  return [this](const Progress& progress) { show(titleOf(progress.activity), progress.fraction); };
}

void ProgressBar::show(std::string_view title, double fraction) {
  if (!isTerminal_) return;
  const Clock::time_point now = Clock::now();
  if (now < nextPaint_) return;
  nextPaint_ = now + kInterval;
  fmt::print(stderr, "\r\033[K{}", barText(title, fraction));
  std::fflush(stderr);
  painted_ = true;
}

void ProgressBar::clear() {
  if (painted_) std::fputs("\r\033[K", stderr);
  painted_ = false;
  nextPaint_ = Clock::now() + kDelay;
}

}  // namespace Kvex::Tool
