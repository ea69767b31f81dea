#pragma once

#include <cstddef>
#include <cstdint>
#include <kvex/Options.h>
#include <kvex/Time.h>
#include <kvex/Value.h>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex {

/// What sort of thing has happened. Later versions may add kinds.
enum class EventKind : std::uint8_t {
  Trigger,  ///< An edge at a trigger input of a navigation unit.
  Wheel,    ///< The pulses of the wheel speed sensor start or stop.
  Mode,     ///< A navigation unit goes from one navigation, position, velocity or attitude mode to another.
  Target,   ///< A target of a range unit goes from one state to another.
  Gap,      ///< No packet of a stream for more than five of its periods.
  Damage,   ///< A place of the file where data is damaged or lost.
};

/// "trigger", "wheel", "mode", "target", "gap", "damage".
std::string_view nameOf(EventKind kind);
/// The kind of a name; none for any other text.
std::optional<EventKind> eventKind(std::string_view name);
/// The names of all kinds, in order.
std::vector<std::string_view> eventKindNames();

/// Something that happened during a recording. Later versions may add members at the end.
struct Event {
  /// When it happened: of an edge its own time, which lies before that of its record; of a gap the last packet before
  /// it; of damage the newest time before it. `kNoTime` for damage of which no time is known.
  Nano time = kNoTime;
  std::optional<std::uint32_t> stream;  ///< None for the file as a whole.
  EventKind kind = EventKind::Trigger;
  std::string text;  ///< In words, without time and stream: "position mode from RTK Float to RTK Integer".
  /// The time of the record that shows it; of a gap the packet that ends it, of damage the first time behind it.
  /// `kNoTime` where it is not known.
  Nano record = kNoTime;
  std::string signal;  ///< The name of the signal that shows it; empty for gaps and damage.
  Value before;        ///< The value of that signal before and after it; without type where there is none.
  Value after;
};

/// Which events are wanted.
struct EventOptions {
  std::vector<EventKind> kinds;        ///< None: all.
  std::vector<std::uint32_t> streams;  ///< None: all, and the file as a whole. Throws `NoSuchStream`.
  std::optional<Nano> start;           ///< Only events with `start` <= time < `end`.
  std::optional<Nano> end;
  std::size_t limit = 100'000;  ///< The most events: of more, the first ones.
  ProgressCallback progress;
  std::stop_token stop;  ///< A stop ends the search within a second, with `Cancelled`.
};

/// What happened, in order of time; at one time in order of streams.
struct Events {
  std::vector<Event> list;
  std::uint64_t inAll = 0;  ///< How many there were, those beyond the limit counted in.
};

/// A change of a signal.
struct Change {
  Nano time = kNoTime;    ///< The stamp of the value that it changed to.
  Nano record = kNoTime;  ///< The time of the record that brought the value.
  Value before;           ///< Without type before a count's first value.
  Value after;
};

}  // namespace Kvex
