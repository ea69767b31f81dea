#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <kvex/Time.h>
#include <optional>
#include <stop_token>
#include <string_view>

namespace Kvex {

/// What an operation is busy with. Later versions may add activities.
enum class Activity : std::uint8_t {
  Identification,  ///< Opening: which streams there are.
  FirstPass,       ///< Opening: where each stream's time begins.
  SecondPass,      ///< Opening: to the end of the file.
  Seek,            ///< Going to the time at which a reading starts.
  Reading,
  Writing,  ///< Of a recording.
};

/// "second pass": the name of an activity.
std::string_view nameOf(Activity activity);

/// How far an operation is.
struct Progress {
  Activity activity = Activity::Identification;
  double fraction = 0.0;  ///< Of this activity, 0 to 1.
};

/// Called now and then, in the thread that called the operation. What it throws ends the operation.
using ProgressCallback = std::function<void(const Progress&)>;

/// How a file is opened.
struct OpenOptions {
  ProgressCallback progress;
  std::stop_token stop;  ///< A stop ends the opening within a second, with `Cancelled`.
};

/// What of a file is read, and how. Later versions add members at the end.
struct ReadOptions {
  /// Only what has `start` <= time < `end`. Without: from the first record to the last.
  std::optional<Nano> start;
  std::optional<Nano> end;
  bool flags = false;   ///< Batches carry the flags of each value.
  bool stamps = false;  ///< Batches carry the stamp of each value.
  /// The most rows of a batch, as far as they take no more than 256 MiB; 0 for as many as go well with the processor's
  /// cache.
  std::size_t batchRows = 0;
  ProgressCallback progress;
  std::stop_token stop;  ///< A stop ends the reading within a second, with `Cancelled`.
  /// Takes a multiplexed signal only from records that select it: in others it has no sample, and a grid holds the
  /// value before. Without, the bits at its place are taken from every record of its table, whatever they mean.
  bool multiplexed = false;
  /// Threads that `File::statistics` may use, each for one stream at a time. Each further one scans the file once more
  /// and keeps what is known of its signals, some 10 MiB. What is read is the same. Other readings use one.
  unsigned threads = 1;
};

}  // namespace Kvex
