#include "tool/EventsTable.h"

#include "tool/Seconds.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

Json timeJson(Nano time) {
  return time == kNoTime ? Json() : Json(time);
}

Json secondsJson(Nano fileStart, Nano time) {
  return time == kNoTime || fileStart == kNoTime ? Json() : Json(secondsBetween(fileStart, time));
}

}  // namespace

std::string eventsTable(std::span<const Event> events, Nano fileStart) {
  TextTable table;
  table.addRow({"TIME [UTC]", "SECONDS", "STREAM", "KIND", "TEXT"});
  for (const Event& event : events) {
    const bool timed = event.time != kNoTime;
    table.addRow({timed ? utcText(event.time) : "-",
                  timed && fileStart != kNoTime ? fmt::format("{:.3f}", secondsBetween(fileStart, event.time)) : "-",
                  event.stream ? std::to_string(*event.stream) : "-", std::string(nameOf(event.kind)), event.text});
  }
  return table.text();
}

Json eventJson(const Event& event, Nano fileStart) {
  return {{"time", timeJson(event.time)},
          {"utc", event.time == kNoTime ? Json() : Json(utcText(event.time))},
          {"seconds", secondsJson(fileStart, event.time)},
          {"stream", event.stream ? Json(*event.stream) : Json()},
          {"kind", nameOf(event.kind)},
          {"text", event.text},
          {"record", timeJson(event.record)},
          {"signal", event.signal.empty() ? Json() : Json(event.signal)},
          {"before", jsonValue(event.before)},
          {"after", jsonValue(event.after)}};
}

}  // namespace Kvex::Tool
