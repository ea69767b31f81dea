#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace Kvex::Tool {

/// A file name made of a text that may hold anything: letters, digits, ".", "_" and "-" stand, each other byte is
/// percent-encoded, and so is a dot at the start. It is at most `limit` bytes long.
std::string safeFileName(std::string_view text, std::size_t limit);

/// Names for the files of one folder, none of them twice, be it in other letter case.
class FileNames {
 public:
  static constexpr std::size_t kMaxLength = 100;  ///< In bytes.

  /// "run.csv", and where that is taken "run-2.csv". REQUIRES: an ending that is safe.
  std::string add(std::string_view stem, std::string_view ending);

 private:
  std::set<std::string> taken_;                  ///< In lower case.
  std::map<std::string, std::uint32_t> counts_;  ///< How often a name was asked for, in lower case.
};

/// "run" of "drives/run.vrel".
std::string stemOf(const std::string& path);

}  // namespace Kvex::Tool
