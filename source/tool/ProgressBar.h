#pragma once

#include <chrono>
#include <kvex/Options.h>
#include <string>
#include <string_view>

namespace Kvex::Tool {

/// "Reading   [####      ]  40 %", shorter than `columns`: `fraction` is brought between 0 and 1.
std::string barText(std::string_view title, double fraction, std::size_t columns);

/// What a bar is called while the library is busy with this.
std::string_view titleOf(Activity activity);

/// Shows on standard error how far a long operation has come, if that is a terminal. The bar comes after a moment and
/// is gone without a trace at the end.
class ProgressBar {
 public:
  ProgressBar();
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Shows what the library reports, for as long as the bar stands; none where nothing would be seen.
  ProgressCallback callback();
  /// To be called often; only now and then something is painted.
  void show(std::string_view title, double fraction);
  /// Takes the bar away, until it is shown again.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  bool isTerminal_;
  bool painted_ = false;
  Clock::time_point nextPaint_;
};

}  // namespace Kvex::Tool
