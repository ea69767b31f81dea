#include "tool/SignalsTable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fmt/format.h>
#include <optional>
#include <string_view>

#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kGap = 2;  // between two columns
constexpr std::size_t kLeastDescription = 20;
constexpr std::size_t kMaxValue = 28;

Json stampedJson(const Value& value) {
  if (value.type() == ValueType::None) return nullptr;
  return {{"value", jsonValue(value)}, {"flags", value.flags()}, {"time", value.stamp()}};
}

Json rateJson(const Statistics& element) {
  return element.rate ? Json(*element.rate) : Json();
}

Json multiplexerJson(const Signal& signal) {
  if (!signal.multiplexer()) return nullptr;
  Json values = Json::array();
  for (const auto& [first, last] : signal.multiplexer()->values) values.push_back({first, last});
  return {{"signal", signal.multiplexer()->signal}, {"values", std::move(values)}};
}

/// Its description, and of a multiplexed signal what selects it.
std::string descriptionOf(const Signal& signal) {
  if (!signal.multiplexer()) return signal.description();
  const std::string selection = "(where " + signal.multiplexer()->text() + ")";
  return signal.description().empty() ? selection : signal.description() + ' ' + selection;
}

struct Member {
  const char* name;
  Json (*of)(const Statistics& element);
};

constexpr std::array<Member, 8> kMembers{{
    {"samples", [](const Statistics& e) { return Json(e.samples); }},
    {"usable", [](const Statistics& e) { return Json(e.usable); }},
    {"rate", rateJson},
    {"first", [](const Statistics& e) { return stampedJson(e.first); }},
    {"last", [](const Statistics& e) { return stampedJson(e.last); }},
    {"min", [](const Statistics& e) { return jsonValue(e.smallest); }},
    {"max", [](const Statistics& e) { return jsonValue(e.largest); }},
    {"changes", [](const Statistics& e) { return Json(e.changes); }},
}};

Json memberJson(const ListedSignal& listed, const Member& member) {
  const std::size_t count = listed.elements.size();
  if (!listed.signal.isArray()) return count == 0 ? Json() : member.of(listed.elements.front());
  Json list = Json::array();
  for (std::size_t element = 0; element < listed.signal.count(); ++element) {
    list.push_back(count == 0 ? Json() : member.of(listed.elements[element]));
  }
  return list;
}

/// In few digits: the JSON has all of them.
std::string numberText(double number) {
  return fmt::format("{:.10g}", number);
}

std::string shortText(const Value& value, const Signal& signal) {
  if (value.type() == ValueType::None) return "-";
  const bool isFloating = value.type() == ValueType::Double || value.type() == ValueType::Float;
  const std::string number = isFloating ? numberText(value.asDouble()) : value.text();
  return signal.hasTexts() ? fmt::format("{} ({})", number, signal.text(value)) : number;
}

/// The beginning of a UTF-8 text, with an ellipsis where something is left out.
std::string cutTo(const std::string& text, std::size_t characters) {
  std::size_t count = 0;
  std::size_t keep = 0;  // bytes of one character less, which the ellipsis takes the place of
  for (std::size_t at = 0; at < text.size(); ++at) {
    if ((static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) continue;
    if (count + 1 == characters) keep = at;
    if (count == characters) return text.substr(0, keep) + "…";
    ++count;
  }
  return text;
}

/// The smallest or largest of all elements.
const Value& extreme(const ListedSignal& listed, Value Statistics::*member, bool largest) {
  const Value* found = &(listed.elements.front().*member);
  for (const Statistics& element : listed.elements) {
    const Value& value = element.*member;
    if (value.type() == ValueType::None) continue;
    const bool further = largest ? value.asDouble() > found->asDouble() : value.asDouble() < found->asDouble();
    if (found->type() == ValueType::None || further) found = &value;
  }
  return *found;
}

std::uint64_t most(const ListedSignal& listed, std::uint64_t Statistics::*member) {
  return std::ranges::max(listed.elements, {}, member).*member;
}

std::string endText(const ListedSignal& listed, Value Statistics::*member) {
  const std::string text = cutTo(shortText(listed.elements.front().*member, listed.signal), kMaxValue);
  return listed.elements.size() > 1 && text != "-" ? text + " …" : text;
}

std::string typeText(const Signal& signal) {
  return signal.isArray() ? fmt::format("{}[{}]", nameOf(signal.type()), signal.count())
                          : std::string(nameOf(signal.type()));
}

std::string rateText(const ListedSignal& listed) {
  const std::optional<double> rate = listed.elements.front().rate;
  return rate ? fmt::format("{:.4g}", *rate) : "-";
}

/// A column, with the place in the order in which columns are left out where there is no room: the highest goes first.
struct Column {
  const char* title;
  int leftOut;
  bool ofSamples;  ///< Tells of samples, and has a "-" where there are none.
  std::string (*text)(const ListedSignal& listed);
};

constexpr int kNever = 0;

constexpr std::array<Column, 12> kColumns{{
    {"STREAM", 4, false, [](const ListedSignal& l) { return std::to_string(l.signal.stream()); }},
    {"NAME", kNever, false, [](const ListedSignal& l) { return l.signal.name(); }},
    {"TYPE", 10, false, [](const ListedSignal& l) { return typeText(l.signal); }},
    {"UNIT", 2, false, [](const ListedSignal& l) { return l.signal.unit(); }},
    {"SAMPLES", 6, true, [](const ListedSignal& l) { return std::to_string(most(l, &Statistics::samples)); }},
    {"USABLE", 3, true, [](const ListedSignal& l) { return std::to_string(most(l, &Statistics::usable)); }},
    {"RATE", 7, true, rateText},
    {"FIRST", 5, true, [](const ListedSignal& l) { return endText(l, &Statistics::first); }},
    {"LAST", 1, true, [](const ListedSignal& l) { return endText(l, &Statistics::last); }},
    {"MIN", 9, true,
     [](const ListedSignal& l) {
       return cutTo(shortText(extreme(l, &Statistics::smallest, false), l.signal), kMaxValue);
     }},
    {"MAX", 9, true,
     [](const ListedSignal& l) {
       return cutTo(shortText(extreme(l, &Statistics::largest, true), l.signal), kMaxValue);
     }},
    {"CHANGES", 8, true, [](const ListedSignal& l) { return std::to_string(most(l, &Statistics::changes)); }},
}};

struct FilledColumn {
  std::vector<std::string> cells;
  std::size_t width = 0;
  int leftOut = kNever;
};

FilledColumn fill(const Column& column, const std::vector<ListedSignal>& signals) {
  FilledColumn filled{.cells = {column.title}, .width = characterCount(column.title), .leftOut = column.leftOut};
  for (const ListedSignal& listed : signals) {
    const bool none = column.ofSamples && listed.elements.empty();
    filled.cells.push_back(none ? "-" : printable(column.text(listed)));
    filled.width = std::max(filled.width, characterCount(filled.cells.back()));
  }
  return filled;
}

/// Leaves out columns until the others fit. Gives their width.
std::size_t fit(std::vector<FilledColumn>& columns, std::size_t width) {
  for (;;) {
    std::size_t taken = 0;
    for (const FilledColumn& column : columns) taken += column.width + kGap;
    const auto least = std::ranges::max_element(columns, {}, &FilledColumn::leftOut);
    if (taken <= width + kGap || least->leftOut == kNever) return taken;
    columns.erase(least);
  }
}

}  // namespace

bool ListedSignal::used() const {
  return std::ranges::any_of(elements, [](const Statistics& element) { return element.usable > 0; });
}

bool ListedSignal::changed() const {
  return std::ranges::any_of(elements, [](const Statistics& element) { return element.changes > 0; });
}

Json signalJson(const ListedSignal& listed, bool walked) {
  const Signal& signal = listed.signal;
  Json json{{"stream", signal.stream()},
            {"ordinal", signal.ordinal()},
            {"name", signal.name()},
            {"type", nameOf(signal.type())},
            {"count", signal.count()},
            {"unit", signal.unit()},
            {"description", signal.description()},
            {"resolution", signal.resolution()},
            {"decimals", signal.decimals()},
            {"range", {signal.rangeLow(), signal.rangeHigh()}},
            {"dial", {signal.dialStart(), signal.dialSweep()}},
            {"group", signal.mask()},
            {"multiplexer", multiplexerJson(signal)},
            {"table", signal.table()},
            {"text", signal.hasTexts()}};
  if (!walked) return json;
  for (const Member& member : kMembers) json[member.name] = memberJson(listed, member);
  return json;
}

std::string signalsTable(const std::vector<ListedSignal>& signals, bool walked, std::size_t width) {
  std::vector<FilledColumn> columns;
  for (const Column& column : kColumns) {
    if (walked || !column.ofSamples) columns.push_back(fill(column, signals));
  }
  const std::size_t taken = width == 0 ? 0 : fit(columns, width);
  const bool described = width == 0 || taken + kLeastDescription <= width;
  TextTable table;
  for (std::size_t row = 0; row <= signals.size(); ++row) {
    std::vector<std::string> cells;
    cells.reserve(columns.size() + 1);
    for (const FilledColumn& column : columns) cells.push_back(column.cells[row]);
    if (described) {
      const std::string text = row == 0 ? "DESCRIPTION" : printable(descriptionOf(signals[row - 1].signal));
      cells.push_back(width == 0 ? text : cutTo(text, width - taken));
    }
    table.addRow(std::move(cells));
  }
  return table.text();
}

}  // namespace Kvex::Tool
