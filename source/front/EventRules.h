#pragma once

#include <cstdint>
#include <kvex/Event.h>
#include <kvex/Signal.h>
#include <kvex/Stream.h>
#include <string>
#include <string_view>

namespace Kvex::Front {

/// How the samples of a signal become events.
enum class EventForm : std::uint8_t {
  Count,   ///< It counts what happens: each new count is an event.
  Pulses,  ///< It counts pulses: an event is that it begins to change, and that it no longer does.
  State,   ///< It is a state: each new value is an event.
};

/// Which events a signal makes.
struct EventRule {
  std::string_view pattern;  ///< The signal's name; "*" stands for a number.
  EventKind kind;
  EventForm form;
  std::string_view subject;  ///< What the event is about; "*" stands for the same number.
};

/// The rule for a signal of a stream; null for a signal that makes no events.
const EventRule* eventRule(const Stream& stream, const Signal& signal);

/// An event in words.
std::string eventText(const EventRule& rule, const Signal& signal, const Value& before, const Value& after);

}  // namespace Kvex::Front
