#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/OpenedFile.h"

namespace Kvex::Tool {

/// Which signals a user asks for: a glob on the name, with "ID:" before it for those of one stream.
class SignalPattern {
 public:
  explicit SignalPattern(std::string_view text);

  bool matches(std::uint32_t streamId, std::string_view name) const;

  const std::string& text() const { return text_; }
  /// The part that is matched with names.
  const std::string& glob() const { return glob_; }

 private:
  std::string text_;
  std::optional<std::uint32_t> streamId_;
  std::string glob_;
};

/// What a user asks for on the command line.
struct SignalChoice {
  std::vector<std::string> patterns;     ///< None: all signals.
  std::vector<std::uint32_t> streamIds;  ///< None: all streams.

  /// Whether the streams asked for hold this one.
  bool takesStream(std::uint32_t streamId) const;
};

/// The signals that have values over time and are asked for, in stream order and listing order. A name that stands in
/// several types of one stream means the first of them. Throws a `Failure` for a pattern that matches nothing, with
/// names near to it, for a stream that the file does not have, and where there is nothing to choose from.
std::vector<Sto::SignalListing> chooseSignals(const OpenedFile& file, const SignalChoice& choice);

/// Throws a `Failure` for a stream that the file does not have.
void checkStreamIds(const OpenedFile& file, const SignalChoice& choice);

/// "; did you mean A, B?" with those of the names that are nearest to a pattern, or nothing.
std::string nearNames(const SignalPattern& pattern, const std::vector<std::string>& names);

}  // namespace Kvex::Tool
