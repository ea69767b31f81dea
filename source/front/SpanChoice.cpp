#include "front/SpanChoice.h"

#include <algorithm>
#include <kvex/Error.h>

namespace Kvex::Front {

namespace {

std::string spanText(Span span) {
  return "from " + utcText(span.start) + " to " + utcText(span.end);
}

/// "from A to B", "from A on", "before B".
std::string askedText(const ChosenSpan& chosen) {
  if (chosen.start && chosen.end) return spanText({*chosen.start, *chosen.end});
  return chosen.start ? "from " + utcText(*chosen.start) + " on" : "before " + utcText(*chosen.end);
}

}  // namespace

DataSpan dataOf(const std::vector<Signal>& signals, const std::vector<Stream>& streams) {
  DataSpan data{{INT64_MAX, INT64_MIN}, true, "the signals' streams"};
  for (const Signal& signal : signals) {
    const Stream& stream = streams[signal.stream()];
    // A damaged stream may end before its start.
    data.span.start = std::min({data.span.start, stream.start(), stream.end()});
    data.span.end = std::max({data.span.end, stream.start(), stream.end()});
  }
  return data;
}

ChosenSpan chooseSpan(const TypedSpan& typed, const DataSpan& data, Span file, const std::string& path) {
  ChosenSpan chosen;
  if (typed.start) chosen.start = typed.start->in(file);
  if (typed.end) chosen.end = typed.end->in(file);
  if (chosen.start && chosen.end && *chosen.start >= *chosen.end) {
    throw Error(ErrorCode::InvalidArgument,
                "the start, " + utcText(*chosen.start) + ", is not before the end, " + utcText(*chosen.end) +
                    "; the file goes " + spanText(file),
                path);
  }
  const Span span = data.span;
  const bool behind = chosen.start && (*chosen.start > span.end || (*chosen.start == span.end && !data.endIncluded));
  if (behind || (chosen.end && *chosen.end <= span.start)) {
    const std::string ofData = span == file ? "" : ", " + std::string(data.ofWhat) + ' ' + spanText(span);
    throw Error(ErrorCode::InvalidArgument,
                "there is no data " + askedText(chosen) + "; the file goes " + spanText(file) + ofData, path);
  }
  const std::string of = " of " + std::string(data.ofWhat);
  if (chosen.start && *chosen.start < span.start) {
    chosen.notes.push_back("the start, " + utcText(*chosen.start) + ", is cut to that" + of + ", " +
                           utcText(span.start));
    if (!data.endIncluded) chosen.start = span.start;
  }
  // An end that takes the last record in is 1 ns behind it.
  if (chosen.end && *chosen.end - (data.endIncluded ? 1 : 0) > span.end) {
    chosen.notes.push_back("the end, " + utcText(*chosen.end) + ", is cut to that" + of + ", " + utcText(span.end));
    if (!data.endIncluded) chosen.end = span.end;
  }
  return chosen;
}

}  // namespace Kvex::Front
