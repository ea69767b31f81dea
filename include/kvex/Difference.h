#pragma once

#include <cstdint>
#include <kvex/Options.h>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex {

class File;

/// In what two recordings can differ. Later versions may add kinds.
enum class DifferenceKind : std::uint8_t {
  Stream,   ///< A stream of one has no partner in the other, or is known by another name.
  Span,     ///< Streams cover other times.
  Header,   ///< A value of a header packet.
  Signal,   ///< A signal is in one only, or has another unit, type, description or the like.
  Setting,  ///< A signal that never changes within either file has other values in them.
};

/// "stream", "span", "header", "signal", "setting".
std::string_view nameOf(DifferenceKind kind);

/// Something in which two recordings differ. Later versions may add members at the end.
struct Difference {
  DifferenceKind kind = DifferenceKind::Stream;
  std::optional<std::uint32_t> first;   ///< The stream of the first file; none where only the second one has it.
  std::optional<std::uint32_t> second;  ///< The stream of the second file, likewise.
  std::string subject;                  ///< What differs: "Zint \"run\"", "{Kvex-Grouping} Name", "WSpeedScale".
  std::optional<std::string> before;    ///< What the first file has, in words; none where it has nothing.
  std::optional<std::string> after;     ///< What the second file has.
};

/// What differs between two recordings in streams, times, headers, signals and settings; samples are not compared.
/// Empty if nothing does.
///
/// Streams are paired by protocol and name, several alike in their order; of those that are left, by protocol in their
/// order. Of paired streams the signals are paired by name, type and shape. A setting is a scalar or an element whose
/// usable values are all the same within each file, such as an option of a unit. What the scan of a file found out is
/// no header. Both files are read from end to end. Throws what `File::statistics` throws.
std::vector<Difference> differences(File& first, File& second, const ProgressCallback& progress = {},
                                    const std::stop_token& stop = {});

}  // namespace Kvex
