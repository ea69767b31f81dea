#pragma once

#include <kvex/Signal.h>
#include <kvex/Stream.h>
#include <kvex/TimeText.h>
#include <string>
#include <vector>

namespace Kvex::Front {

/// Where there is data for a typed span to meet.
struct DataSpan {
  Span span;                 ///< From the first time to the last.
  bool endIncluded = false;  ///< Whether there is data at the end of `span` itself.
  std::string_view ofWhat;   ///< "the file": what has it.
};

/// The times of the streams of these signals, first and last record included. REQUIRES: signals that can be read.
DataSpan dataOf(const std::vector<Signal>& signals, const std::vector<Stream>& streams);

/// Checks what a person typed against the data there is. `file` is the span that typed distances count from, `path`
/// goes into errors. Throws `InvalidArgument` as `File::gridSpan` does.
ChosenSpan chooseSpan(const TypedSpan& typed, const DataSpan& data, Span file, const std::string& path);

}  // namespace Kvex::Front
