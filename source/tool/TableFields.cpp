#include "tool/TableFields.h"

#include <fmt/format.h>
#include <map>
#include <set>
#include <string_view>

namespace Kvex::Tool {

std::vector<TableField> fieldsOf(const std::vector<Signal>& signals) {
  std::map<std::string_view, std::set<std::int64_t>> streamsOf{{"time", {-1}}};
  for (const Signal& signal : signals) streamsOf[signal.name()].insert(signal.stream());
  std::vector<TableField> fields;
  for (std::uint32_t place = 0; place < signals.size(); ++place) {
    const Signal& signal = signals[place];
    const bool shared = streamsOf[signal.name()].size() > 1;
    for (std::uint32_t element = 0; element < signal.count(); ++element) {
      const std::string name = signal.isArray() ? fmt::format("{}[{}]", signal.name(), element) : signal.name();
      const std::string shown = shared ? fmt::format("{}:{}", signal.stream(), name) : name;
      const std::string key = signal.unit().empty() ? shown : fmt::format("{} [{}]", shown, signal.unit());
      fields.push_back({place, element, name, key, shown + " flags"});
    }
  }
  return fields;
}

}  // namespace Kvex::Tool
