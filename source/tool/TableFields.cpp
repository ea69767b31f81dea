#include "tool/TableFields.h"

#include <fmt/format.h>
#include <map>
#include <set>

namespace Kvex::Tool {

std::vector<TableField> fieldsOf(const std::vector<Signal>& signals, bool qualified,
                                 const std::set<std::string>& taken) {
  std::vector<TableField> fields;
  for (std::uint32_t place = 0; place < signals.size(); ++place) {
    const Signal& signal = signals[place];
    for (std::uint32_t element = 0; element < signal.count(); ++element) {
      fields.push_back({place, element, signal.isArray() ? signal.at(element).name() : signal.name(), {}, {}, {}});
    }
  }
  std::map<std::string, std::set<std::int64_t>> streamsOf;
  for (const std::string& name : taken) streamsOf[name] = {-1};
  for (const TableField& field : fields) streamsOf[field.name].insert(signals[field.signal].stream());
  for (TableField& field : fields) {
    const Signal& signal = signals[field.signal];
    const std::string withStream = fmt::format("{}:{}", signal.stream(), field.name);
    field.longName = qualified ? withStream : field.name;
    const std::string& shown = streamsOf[field.name].size() > 1 ? withStream : field.longName;
    field.key = signal.unit().empty() ? shown : fmt::format("{} [{}]", shown, signal.unit());
    field.flagsKey = shown + " flags";
  }
  return fields;
}

}  // namespace Kvex::Tool
