#pragma once

#include <string_view>

#include "tool/Output.h"
#include "tool/Text.h"

namespace Kvex::Tool {

/// Writes a JSON array with a line for each item, which `toJson` makes.
template <class Items, class ToJson>
void writeJsonArray(Output& output, const Items& items, ToJson&& toJson) {
  output.write("[");
  std::string_view separator = "\n";
  for (const auto& item : items) {
    output.write(separator);
    output.write(jsonText(toJson(item)));
    separator = ",\n";
  }
  output.write("\n]\n");
}

}  // namespace Kvex::Tool
