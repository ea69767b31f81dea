#include "tool/StatesTable.h"

#include <fmt/format.h>

#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kNanoDigits = 9;
constexpr std::size_t kLeastDigits = 3;  // behind the point
constexpr double kLeastShare = 0.0005;   // is shown as 0.1 %

bool isUsable(const Value& value) {
  return value.type() != ValueType::None;
}

/// A value and its text, as cells.
std::vector<std::string> valueCells(const Signal& signal, const Value& value) {
  if (!isUsable(value)) return {"-", "no usable value"};
  return {value.text(), signal.hasTexts() ? signal.text(value) : ""};
}

void addValue(Json& json, const Signal& signal, const Value& value) {
  json["value"] = jsonValue(value);
  json["text"] = isUsable(value) && signal.hasTexts() ? Json(signal.text(value)) : Json();
  json["usable"] = isUsable(value);
}

std::vector<std::string> joined(std::vector<std::string> cells, std::vector<std::string> more) {
  cells.insert(cells.end(), more.begin(), more.end());
  return cells;
}

Nano lengthOf(const State& interval) {
  Nano length = 0;
  return __builtin_sub_overflow(interval.to, interval.from, &length) ? INT64_MAX : length;
}

double secondsIn(const State& interval) {
  return static_cast<double>(lengthOf(interval)) / 1e9;
}

}  // namespace

std::string secondsText(Nano nanos) {
  std::string text = fmt::format("{}.{:0{}}", nanos / kNanosPerSecond, nanos % kNanosPerSecond, kNanoDigits);
  const std::size_t least = text.size() - kNanoDigits + kLeastDigits;
  while (text.size() > least && text.back() == '0') text.pop_back();
  return text;
}

std::string shareText(double share) {
  return share > 0 && share < kLeastShare ? "< 0.1 %" : fmt::format("{:.1f} %", share * 100);
}

std::string totalsTable(const Signal& signal, const std::vector<StateTotal>& totals) {
  TextTable table;
  table.addRow({"VALUE", "TEXT", "TIMES", "SECONDS", "SHARE"});
  for (const StateTotal& total : totals) {
    table.addRow(joined(valueCells(signal, total.value),
                        {std::to_string(total.times), secondsText(total.time), shareText(total.share)}));
  }
  return table.text();
}

std::string intervalsTable(const Signal& signal, const std::vector<State>& intervals) {
  TextTable table;
  table.addRow({"START", "END", "SECONDS", "VALUE", "TEXT"});
  for (const State& interval : intervals) {
    table.addRow(joined({utcText(interval.from), utcText(interval.to), secondsText(lengthOf(interval))},
                        valueCells(signal, interval.value)));
  }
  return table.text();
}

Json signalLead(const Signal& signal) {
  return {{"stream", signal.stream()}, {"name", signal.name()}, {"unit", signal.unit()}};
}

Json totalsJson(const Signal& signal, const std::vector<StateTotal>& totals) {
  Json states = Json::array();
  for (const StateTotal& total : totals) {
    Json json;
    addValue(json, signal, total.value);
    json["times"] = total.times;
    json["seconds"] = static_cast<double>(total.time) / 1e9;
    json["share"] = total.share;
    states.push_back(std::move(json));
  }
  Json json = signalLead(signal);
  json["states"] = std::move(states);
  return json;
}

Json intervalJson(const Signal& signal, const State& interval) {
  Json json{{"start", interval.from}, {"end", interval.to}, {"seconds", secondsIn(interval)}};
  addValue(json, signal, interval.value);
  return json;
}

}  // namespace Kvex::Tool
