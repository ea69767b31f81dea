#pragma once

#include <cstddef>
#include <cstdint>
#include <kvex/Batch.h>
#include <kvex/Damage.h>
#include <kvex/Difference.h>
#include <kvex/Error.h>
#include <kvex/Event.h>
#include <kvex/Grid.h>
#include <kvex/Options.h>
#include <kvex/Overview.h>
#include <kvex/Reader.h>
#include <kvex/Signal.h>
#include <kvex/States.h>
#include <kvex/Statistics.h>
#include <kvex/Stream.h>
#include <kvex/Time.h>
#include <kvex/TimeText.h>
#include <kvex/Track.h>
#include <kvex/Writing.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex {

/// An opened recording (.vrel) or bare protocol file (.quon, .dask, .yeld).
///
/// Opening reads the file from end to end to find its streams, their times and its damage, and keeps no values. Values
/// are read afterwards, always forward, in batches of bounded memory. All failures are thrown as `Error`.
///
/// Thread safety: a file serves one thread at a time, its readers counted in. Several files may be read in parallel.
/// What it hands out about itself (streams, signals, damage) and batches may be used by any thread. A stop token may be
/// triggered from any thread.
class File {
 public:
  /// Throws `NotFound`, `Unreadable`, `UnknownKind`, `Empty` and `Cancelled`. A damaged file opens: see `damage`.
  explicit File(const std::string& path, const OpenOptions& options = {});
  File(File&&) noexcept;
  File& operator=(File&&) noexcept;
  ~File();

  const std::string& path() const;
  /// Whether any stream has time; without, no values can be read.
  bool hasTime() const;
  /// The span over which a grid goes by default: from the earliest start of all streams, and 100 ms later if they do
  /// not all start at the same time (by then those that start with the recording have values), to the latest end.
  /// Without time, `start` is the largest time and `end` is 0.
  Span span() const;
  /// The times between which a grid has rows when a person typed these: `start` <= time < `end`, cut to `span` with a
  /// note. Throws `InvalidArgument` for a start that is not before the end and for a span that meets no data, with the
  /// file's span in the reason, and `NoTime`.
  ChosenSpan gridSpan(const TypedSpan& typed) const;
  /// The same for native samples of signals, held against the times of their streams, first and last record included.
  /// Times typed from the start or the end count from those of the file, as in a grid. Records of damaged times that
  /// lie beyond the first and the last one of their stream are not cut off.
  ChosenSpan nativeSpan(const TypedSpan& typed, const std::vector<Signal>& signals) const;

  const std::vector<Stream>& streams() const;
  /// Throws `NoSuchStream`.
  const Stream& stream(std::uint32_t id) const;
  /// The signals of all streams, in the order of the streams and of their lists.
  const std::vector<Signal>& signals() const;
  const Damage& damage() const;
  Judgement judgement() const { return damage().judgement(); }

  /// The one signal that a text names: "Name", "2:Name" for that of stream 2, "Name[3]" for element 3 of an array (its
  /// label or number), each also with the unit behind it: "2:Name [m]". A name that a stream carries in several types
  /// means the first of them. Streams without time are only looked at where no other has the name. Throws
  /// `NoSuchSignal`, `NoSuchStream` and `Ambiguous`, each with candidates.
  Signal signal(std::string_view text) const;
  /// The signals with values over time whose name matches a pattern as in a shell: "*" stands for any characters, "?"
  /// for one, "[a-c]" and "[!a-c]" for one of a set; "2:Gnss*" for those of stream 2, "*:Gnss*" for those of all. Case
  /// counts. A name that a stream carries in several types means the first of them, and stands at the place of the
  /// first in the list.
  std::vector<Signal> match(std::string_view pattern) const;
  /// The signals with values over time that a person chooses by typed texts, by the rules of `Kvex::choose`, in the
  /// order of the texts; without a text all, in the order of `match("*")`. `streams`: only signals of these; none for
  /// all. Throws `NoSuchStream`, `NoSuchSignal` and `InvalidArgument` as `Kvex::choose` does, and `NoTime` where there
  /// is nothing to choose from.
  std::vector<Signal> choose(const std::vector<std::string>& texts,
                             const std::vector<std::uint32_t>& streams = {}) const;
  /// The signals with values over time in which each of the words occurs, in name, description, unit, table or the text
  /// of a value, in any case: those first that have the words in their names.
  std::vector<Signal> search(std::string_view words) const;
  /// The signals of a list; a text that is no name is taken as a pattern as in `match`. Throws as `signal` does.
  std::vector<Signal> resolve(const SignalList& signals) const;

  // Reading. Each reading takes the place of the one before. All throw what `resolve` throws; `InvalidArgument` for no
  // signal, and `NoTime` for a signal of a stream without time. Start and end are held against the stream's own times.

  /// All samples of signals as the recording carried them, in one table with a column for each signal. A row is a
  /// record (a packet, or in CAN a frame) that gave any of them a sample; cells that it did not write are null. The
  /// time is the stream's clock after the record, which need not rise. Throws `InvalidArgument` for signals of more
  /// than one stream.
  Reader native(const SignalList& signals, const ReadOptions& options = {});
  /// The same in one table for each `Signal::table`, all in one walk: each batch belongs to one table and has columns
  /// for the signals of that table. The quick way to read many signals.
  Reader nativeTables(const SignalList& signals, const ReadOptions& options = {});
  /// Sample and hold: at each time of the grid, the values that stood after each stream's first record at or after it.
  /// Nothing is interpolated. The signals may be of several streams. A cell is valid where the value is usable.
  Reader grid(const SignalList& signals, const Grid& grid, const ReadOptions& options = {});
  /// What signals did in each of `slices` equal slices of a span: by default of all times of their streams. One walk of
  /// each stream. Throws `InvalidArgument` for no slices, for more than a million, for more slices of all signals than
  /// memory allows, and for an empty span, which is also that of streams whose last time lies before the first.
  /// `watcher` is called a few times a second; what it throws ends the reading.
  Overview overview(const SignalList& signals, std::size_t slices, const ReadOptions& options = {},
                    const OverviewWatcher& watcher = {});
  /// One entry for each signal, and of an array one for each element. One walk of each stream.
  std::vector<Statistics> statistics(const SignalList& signals, const ReadOptions& options = {});
  /// The intervals during which a scalar signal or an element held each value, cut to the span asked for. Throws
  /// `InvalidArgument` for an array.
  States states(const SignalList::Item& signal, const ReadOptions& options = {});
  /// The same with the time between them: intervals without a usable value are states without a value. As long as the
  /// stream's times do not go back, they follow one another without a gap from its start to its end, or over what of
  /// that lies in the span asked for.
  States timeline(const SignalList::Item& signal, const ReadOptions& options = {});
  /// What the timelines of several signals come to, as `totalsOf` sums them up: one list for each signal, and of an
  /// array one for each element. One walk of each stream. The limit of different values holds for all signals together.
  std::vector<std::vector<StateTotal>> stateTotals(const SignalList& signals, const ReadOptions& options = {});
  /// What happened during the recording: edges, starts and stops, changes of modes, gaps and damage. One walk of each
  /// stream that can have such.
  Events events(const EventOptions& options = {});
  /// Where a scalar signal or an element changed: each usable value that differs from the usable one before, in the
  /// order of the records. A first value is no change, but for the count of a trigger's edges if the edge lies in the
  /// stream's time. Throws `InvalidArgument` for an array, and for more changes than a million.
  std::vector<Change> changes(const SignalList::Item& signal, const ReadOptions& options = {});
  /// The paths of the file, each with the signals from which it is read: first those of streams with a latitude and
  /// longitude, one each, then those of the objects of range systems. An object need not be in the recording.
  std::vector<TrackSignals> tracks() const;
  /// The path of a stream: its usable positions as the recording carried them, with what else is known there. Two walks
  /// of the stream, the first one for its gaps. Throws `NoSuchStream`, and `NoSuchSignal` where the stream, or without
  /// one every stream, has no positions.
  void track(const TrackOptions& options, const TrackVisitor& visitor);

  /// Writes a span of this file into a recording, or of a bare protocol file into one of its kind: see `Writing.h`.
  /// Exporting the span from the cut gives the same rows, but for signals that depend on all packets since the start;
  /// docs/cut.md names them. Streams without time are taken whole over the same part of the file. Throws
  /// `InvalidArgument` for a span that is empty or meets no data and as `rescue` does for `out`, `NoSuchStream`,
  /// `NoTime`, `Refused` where the times of a stream could not be known from the cut alone, `Unwritable`, `Cancelled`.
  CutReport cut(const std::string& out, const CutOptions& options);

 private:
  struct Data;

  std::shared_ptr<Data> data_;
};

}  // namespace Kvex
