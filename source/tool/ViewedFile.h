#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <kvex/File.h>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/DrawnSignal.h"

namespace Kvex::Tool {

/// Thrown where nobody waits any more for what is being read.
class GivenUp {};

/// Whether somebody still waits for an answer. Asked several times a second while a file is read.
using StillWanted = std::function<bool()>;

/// Signals over a part of a file, as a page asks for them.
struct ViewRequest {
  std::vector<std::string> signals;  ///< "2:Lat", "2:SatUsed[3]".
  std::optional<double> from;        ///< Seconds from the file's start; else from the first record to the last.
  std::optional<double> to;
  std::size_t slices = 1000;
};

/// A file of which a viewer shows parts, to several requests at a time: each waits until the one before it has read;
/// the tracks give way to all others. What a walk over the whole file has found of a signal is kept, in 65,536 slices,
/// for the signals that were asked for last.
class ViewedFile {
 public:
  /// What a request gets, in one piece or several.
  using Emit = std::function<void(std::string_view text)>;

  static constexpr std::size_t kMostSignals = 32;  ///< Of a request.
  static constexpr std::size_t kMostSlices = 8000;

  /// Throws what `File` throws.
  ViewedFile(const std::string& path, const OpenOptions& options);

  const std::string& path() const { return path_; }
  /// Name, span, streams and judgement.
  const nlohmann::ordered_json& about() const { return about_; }
  /// Stream, name, unit, description, table and elements of every signal that has values over time.
  const nlohmann::ordered_json& signals() const { return list_; }

  /// Throws what is wrong with a request: `NoSuchSignal`, and `InvalidArgument` for too much at a time, for whole
  /// arrays and for no span. `checkOneStream` throws it for signals of several streams too.
  void check(const ViewRequest& request) const;
  void checkOneStream(const ViewRequest& request) const;

  // These take a request that was checked, and throw `GivenUp` when nobody waits any more.

  /// Emits lines of JSON, each of all signals in slices over the span: coarser or unfinished ones as soon as they are
  /// known, then the one with "final": true.
  void overview(const ViewRequest& request, const StillWanted& wanted, const Emit& emit);
  /// Emits where the streams were over the whole file, as a line of JSON.
  void tracks(const StillWanted& wanted, const Emit& emit);
  /// Emits the native samples of signals of one stream as CSV, with UTC.
  void samples(const ViewRequest& request, const StillWanted& wanted, const Emit& emit);

 private:
  /// What a walk over the whole file has found of a signal.
  struct Pyramid {
    Signal signal;
    DrawnSlices slices;
  };
  struct Asked;

  static constexpr std::size_t kPyramidSlices = 65'536;
  /// About 100 MB in all.
  static constexpr std::size_t kMostPyramids = 32;

  /// Waits for its turn to read the file.
  std::unique_lock<std::timed_mutex> lock(const StillWanted& wanted);
  Asked resolve(const ViewRequest& request) const;
  Signal signalNamed(const std::string& text) const;
  ReadOptions reading(const StillWanted& wanted) const;
  /// The pyramid of a signal, which becomes the newest; none where it is not kept.
  const Pyramid* find(const Signal& signal);
  nlohmann::ordered_json findTracks(const StillWanted& wanted);
  Overview readBehindOthers(const std::vector<Signal>& signals, const StillWanted& wanted);
  void makePyramids(const Asked& asked, const StillWanted& wanted, const Emit& emit);
  nlohmann::ordered_json lineOf(const std::vector<Signal>& signals, const std::vector<DrawnSlices>& slices,
                                bool isFinal) const;
  double secondsOf(Nano time) const;

  // These do not change, and any thread may look at them.
  std::string path_;
  Nano start_ = 0;
  std::map<std::uint32_t, Span> spans_;   ///< Of the streams.
  std::map<std::string, Signal> byName_;  ///< By qualified name.
  nlohmann::ordered_json about_;
  nlohmann::ordered_json list_;

  std::atomic<int> waiting_ = 0;  ///< Requests that wait to read, but for the tracks.
  std::timed_mutex reading_;      ///< Held by the request that reads; guards the file and the pyramids.
  File file_;
  std::list<Pyramid> pyramids_;  ///< The newest first.
  std::timed_mutex tracking_;    ///< Held by the request that finds the tracks.
  std::string tracks_;           ///< Empty until they were asked for.
};

/// Some of these slices, those of a span, so that they are `least` at least: several put together where there are
/// enough of them, else as they are. False: they are fewer.
bool zoomed(const DrawnSlices& all, Span span, std::size_t least, DrawnSlices& part);

}  // namespace Kvex::Tool
