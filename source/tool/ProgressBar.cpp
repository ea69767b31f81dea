#include "tool/ProgressBar.h"

#include <algorithm>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "tool/Messages.h"

namespace Kvex::Tool {

namespace {

constexpr std::chrono::milliseconds kInterval{100};
constexpr std::chrono::milliseconds kDelay{400};  ///< Until the bar comes.
constexpr std::size_t kTitleWidth = 20;
constexpr std::size_t kBarWidth = 40;
constexpr std::size_t kMinBarWidth = 5;

/// Columns of the terminal as it is now: it may have been resized.
std::size_t columnsOfTerminal() {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

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
    case Activity::Writing:
      return "Writing";
  }
  return "Working";
}

std::string barText(std::string_view title, double fraction, std::size_t columns) {
  const double shown = fraction >= 0 ? std::min(fraction, 1.0) : 0.0;
  const std::string percent = fmt::format("{:3.0f} %", shown * 100);
  // The last column stays free: a terminal may go to the next line when it is filled.
  const std::size_t room = columns > 0 ? columns - 1 : 0;
  const std::size_t other = kTitleWidth + std::string_view(" [] ").size() + percent.size();
  if (room < other + kMinBarWidth) {
    const std::string text = fmt::format("{} {}", title, percent);
    return text.size() <= room ? text : percent.substr(0, room);
  }
  const std::size_t width = std::min(kBarWidth, room - other);
  const std::string bar(static_cast<std::size_t>(shown * static_cast<double>(width)), '#');
  return fmt::format("{:<{}} [{:<{}}] {}", title, kTitleWidth, bar, width, percent);
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
  sayRaw("\r\033[K" + barText(title, fraction, columnsOfTerminal()));
  painted_ = true;
}

void ProgressBar::clear() {
  if (painted_) sayRaw("\r\033[K");
  painted_ = false;
  nextPaint_ = Clock::now() + kDelay;
}

}  // namespace Kvex::Tool
