#pragma once

#include <kvex/Event.h>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

namespace Kvex::Tool {

/// A line for each event: UTC, seconds from `fileStart`, stream, kind and text. An event without a time or a stream has
/// "-" there.
std::string eventsTable(std::span<const Event> events, Nano fileStart);

/// An event as JSON: null for what it does not have.
nlohmann::ordered_json eventJson(const Event& event, Nano fileStart);

}  // namespace Kvex::Tool
