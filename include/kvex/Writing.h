#pragma once

#include <cstddef>
#include <cstdint>
#include <kvex/Options.h>
#include <kvex/Time.h>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

// Recordings that are made of others. Packets are copied byte for byte and pages are written anew: first the first
// pages of all logical streams, then all headers, then data, then the end pages. Each is written beside its place under
// a temporary name and gets its own when it is complete; a failure leaves nothing behind.

namespace Kvex {

/// How a recording is written.
struct WriteOptions {
  bool force = false;  ///< A recording or bare file in the place of the new one may be replaced; never an input.
  ProgressCallback progress;
  std::stop_token stop;  ///< A stop ends the writing within a second, with `Cancelled`.
};

/// One logical stream of a damaged recording, and what became of it.
struct RescuedStream {
  std::uint32_t serial = 0;     ///< Of the logical stream.
  std::string codec;            ///< "Quon"; empty for a stream of another kind than Kvex writes.
  bool saved = false;           ///< False where the header is lost: the stream is left out.
  std::uint64_t packets = 0;    ///< Data packets saved.
  Nano time = 0;                ///< From the first record saved to the last one, in nanoseconds; 0 without time.
  std::uint64_t pagesLost = 0;  ///< Missing, late or out of order.
  /// Packets lost: those that were torn, and those of lost pages, of which a page is taken to have had as many as the
  /// saved ones have on average, and at least one. 0 only if no packet is known to be lost.
  std::uint64_t packetsLost = 0;
  Nano timeLost = 0;  ///< Nanoseconds between records in which records were lost.
};

/// What a rescue has saved and lost.
struct RescueReport {
  std::vector<RescuedStream> streams;  ///< In the order of their first pages.
  std::uint64_t junkBytes = 0;         ///< Bytes of no good page, those of a page cut off by the end counted in.
  std::uint64_t pagesUnclaimed = 0;    ///< Pages of streams of which no first page is there.
  bool endLost = false;                ///< A page is broken behind the last one of a stream that was not closed.
  bool lost = false;                   ///< Whether any packet was lost.
};

/// Writes a sound recording with all that a damaged or unfinished one still holds. Junk and broken pages are dropped,
/// pages are numbered without gaps, a packet that is not whole is dropped, missing end pages are added, and streams
/// that begin late in the file are brought to its start. A stream whose header is lost is left out. The result is read
/// once to prove that it is whole. Rescuing it again gives the same bytes.
///
/// Throws `Error`: as `File` for `path`; `Empty` if there is nothing to save; `InvalidArgument` for an `out` that is
/// the input, whose name does not end in ".vrel" or that holds a recording that may not be replaced; `Unwritable`;
/// `Cancelled`.
RescueReport rescue(const std::string& path, const std::string& out, const WriteOptions& options = {});

/// What of a file is cut out.
struct CutOptions : WriteOptions {
  /// The span is `start` <= time < `end`; without, from the first record or to the last one.
  std::optional<Nano> start;
  std::optional<Nano> end;
  /// How far ahead of the start a stream begins, in nanoseconds, so that what was known at the start is known in the
  /// cut. Without: from where all that had been sent in the last 60 s comes once, found for each stream.
  std::optional<Nano> lead;
  std::vector<std::uint32_t> streams;  ///< Ids of the streams to take; empty for all.
};

/// One stream of a cut.
struct CutStream {
  std::uint32_t id = 0;       ///< In the file that was cut.
  std::uint64_t packets = 0;  ///< Data packets in the cut.
  Nano lead = 0;              ///< Nanoseconds between its first record in the cut and the start of the span.
  /// Signals that were known at the start and are not known in the cut, since they were sent only ahead of the lead.
  std::vector<std::string> lostSignals;
};

struct CutReport {
  std::vector<CutStream> streams;
  std::vector<std::string> notes;  ///< What else is to be known of the cut, each a sentence without its full stop.
  bool damaged = false;            ///< Data of the span was damaged or lost in the file that was cut.
};

/// One stream of a merge.
struct MergedStream {
  std::size_t input = 0;        ///< Which of the inputs, from 0.
  std::uint32_t serial = 0;     ///< There.
  std::uint32_t newSerial = 0;  ///< In the new recording.
  std::uint64_t packets = 0;
};

struct MergeReport {
  std::vector<MergedStream> streams;  ///< Input by input.
  bool damaged = false;               ///< Data of an input was damaged or lost.
};

/// Makes one recording of several of the same drive. Data packets keep their bytes, and pages follow one another by the
/// absolute time of their records. A serial number that an earlier input has too is changed, and with it those in the
/// "{Kvex-Range}" headers of its input, which tie streams together. Throws as `rescue` does; `InvalidArgument` for less
/// than two inputs, for one that is given twice and for a bare protocol file, and `NoTime` for one without time.
MergeReport merge(const std::vector<std::string>& paths, const std::string& out, const WriteOptions& options = {});

}  // namespace Kvex
