#include "front/EventRules.h"

#include <algorithm>
#include <array>
#include <span>

namespace Kvex::Front {

namespace {

constexpr std::array kNavigationRules{
    EventRule{"Trig*RiseUpdateCount", EventKind::Trigger, EventForm::Count, "trigger * rising edge"},
    EventRule{"Trig*FallUpdateCount", EventKind::Trigger, EventForm::Count, "trigger * falling edge"},
    EventRule{"WSpeedCount", EventKind::Wheel, EventForm::Pulses, "wheel speed pulses"},
    EventRule{"InsNavMode", EventKind::Mode, EventForm::State, "navigation mode"},
    EventRule{"GpsPosMode", EventKind::Mode, EventForm::State, "position mode"},
    EventRule{"GpsVelMode", EventKind::Mode, EventForm::State, "velocity mode"},
    EventRule{"GpsAttMode", EventKind::Mode, EventForm::State, "attitude mode"},
};

constexpr std::array kRangeRules{
    EventRule{"Target*_ModeStatus", EventKind::Target, EventForm::State, "target *"},
};

std::span<const EventRule> rulesOf(std::string_view codec) {
  if (codec == "Quon" || codec == "Dask") return kNavigationRules;
  if (codec == "Yeld") return kRangeRules;
  return {};
}

/// What "*" of a pattern stands for in a name: digits, or nothing where the pattern has no "*". False for another name.
bool matchNumber(std::string_view pattern, std::string_view name, std::string_view& number) {
  const std::size_t star = pattern.find('*');
  if (star == std::string_view::npos) return pattern == name;
  const std::string_view tail = pattern.substr(star + 1);
  if (name.size() <= star + tail.size() || !name.starts_with(pattern.substr(0, star)) || !name.ends_with(tail)) {
    return false;
  }
  number = name.substr(star, name.size() - star - tail.size());
  return std::ranges::all_of(number, [](char c) { return c >= '0' && c <= '9'; });
}

std::string subjectOf(const EventRule& rule, const Signal& signal) {
  std::string_view number;
  matchNumber(rule.pattern, signal.name(), number);
  std::string subject(rule.subject);
  const std::size_t star = subject.find('*');
  if (star != std::string::npos) subject.replace(star, 1, number);
  return subject;
}

}  // namespace

const EventRule* eventRule(const Stream& stream, const Signal& signal) {
  if (signal.isArray() || signal.element()) return nullptr;
  std::string_view number;
  for (const EventRule& rule : rulesOf(stream.codec())) {
    if (matchNumber(rule.pattern, signal.name(), number)) return &rule;
  }
  return nullptr;
}

std::string eventText(const EventRule& rule, const Signal& signal, const Value& before, const Value& after) {
  const std::string subject = subjectOf(rule, signal);
  switch (rule.form) {
    case EventForm::Count:
      return subject + ", number " + signal.text(after);
    case EventForm::Pulses:
      return subject + (before.asDouble() == after.asDouble() ? " stop" : " start");
    default:
      return subject + " from " + signal.text(before) + " to " + signal.text(after);
  }
}

}  // namespace Kvex::Front
