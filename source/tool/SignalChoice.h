#pragma once

#include <cstdint>
#include <kvex/File.h>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex::Tool {

/// What a user asks for on the command line.
struct SignalChoice {
  std::vector<std::string> patterns;     ///< As `File::match` takes them. None: all signals.
  std::vector<std::uint32_t> streamIds;  ///< None: all streams.

  /// Whether the streams asked for hold this one.
  bool takesStream(std::uint32_t streamId) const;
};

/// The signals that have values over time and are asked for, in stream order and listing order. A name that stands in
/// several types of one stream means the first of them. Throws a `Failure` for a pattern that matches nothing, with
/// names near to it, for a stream that the file does not have, and where there is nothing to choose from.
std::vector<Signal> chooseSignals(const File& file, const SignalChoice& choice);

/// Throws `NoSuchStream` for a stream that the file does not have.
void checkStreamIds(const File& file, const SignalChoice& choice);

/// "no signal matches "Latt"; did you mean Lat?", with names of the signals that there are.
std::string noMatchText(std::string_view pattern, const std::vector<Signal>& offered);

}  // namespace Kvex::Tool
