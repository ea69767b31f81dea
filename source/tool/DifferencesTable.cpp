#include "tool/DifferencesTable.h"

#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

template <class T>
Json orNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json();
}

std::string idText(const std::optional<std::uint32_t>& id) {
  return id ? std::to_string(*id) : "-";
}

std::string streamsText(const Difference& difference) {
  if (difference.first == difference.second) return idText(difference.first);
  return idText(difference.first) + '/' + idText(difference.second);
}

}  // namespace

std::string differencesTable(std::span<const Difference> differences) {
  TextTable table;
  table.addRow({"KIND", "STREAM", "WHAT", "FIRST", "SECOND"});
  for (const Difference& difference : differences) {
    table.addRow({std::string(nameOf(difference.kind)), streamsText(difference), difference.subject,
                  difference.before.value_or("-"), difference.after.value_or("-")});
  }
  return table.text();
}

Json differenceJson(const Difference& difference) {
  return {{"kind", nameOf(difference.kind)},
          {"stream", {orNull(difference.first), orNull(difference.second)}},
          {"what", difference.subject},
          {"first", orNull(difference.before)},
          {"second", orNull(difference.after)}};
}

}  // namespace Kvex::Tool
