#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/TableStyle.h"

namespace Kvex::Tool {

/// A format of tables as a user names it.
struct NamedFormat {
  std::string_view name;
  std::string_view endings[2];  ///< In lower case with the point; the first is the one that new files get.
  TableFormat format;
  char delimiter = ',';
};

std::vector<std::string> formatNames();
/// The format with this name. REQUIRES: there is one.
const NamedFormat& formatNamed(std::string_view name);

/// The format that a file's ending asks for; CSV without an ending, and for what is no regular file. Throws a `Failure`
/// for an ending that no format has.
const NamedFormat& formatOfOutput(const std::string& path);

}  // namespace Kvex::Tool
