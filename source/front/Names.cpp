#include <algorithm>
#include <array>
#include <cstddef>
#include <kvex/Damage.h>
#include <kvex/Difference.h>
#include <kvex/Error.h>
#include <kvex/Event.h>
#include <kvex/Options.h>
#include <kvex/ValueType.h>

#include "library/Enumerations.h"

namespace Kvex {

namespace {

template <std::size_t Count, class Code>
std::string_view nameIn(const std::array<std::string_view, Count>& names, Code code) {
  const auto index = static_cast<std::size_t>(code);
  return index < Count ? names[index] : "unknown";
}

}  // namespace

std::string_view nameOf(ValueType type) {
  return Lib::kValueTypeNames.nameOfRaw(static_cast<std::uint8_t>(type));
}

std::string_view nameOf(ErrorCode code) {
  static constexpr std::array<std::string_view, 13> kNames{
      "NotFound",     "Unreadable", "UnknownKind",     "Empty",      "NoTime",     "Cancelled", "NoSuchStream",
      "NoSuchSignal", "Ambiguous",  "InvalidArgument", "Superseded", "Unwritable", "Refused"};
  return nameIn(kNames, code);
}

std::string_view nameOf(Activity activity) {
  static constexpr std::array<std::string_view, 6> kNames{"identification", "first pass", "second pass",
                                                          "seek",           "reading",    "writing"};
  return nameIn(kNames, activity);
}

std::string_view nameOf(DamageKind kind) {
  static constexpr std::array<std::string_view, 10> kNames{
      "headerIncomplete", "pagesMissing", "pagesLate", "pagesTwice", "packetsDropped",
      "structureBroken",  "junkBytes",    "cutOff",    "endMissing", "pagesUnclaimed"};
  return nameIn(kNames, kind);
}

namespace {

constexpr std::array<std::string_view, 6> kEventKinds{"trigger", "wheel", "mode", "target", "gap", "damage"};

}  // namespace

std::string_view nameOf(EventKind kind) {
  return nameIn(kEventKinds, kind);
}

std::optional<EventKind> eventKind(std::string_view name) {
  const auto* const found = std::ranges::find(kEventKinds, name);
  if (found == kEventKinds.end()) return std::nullopt;
  return static_cast<EventKind>(found - kEventKinds.begin());
}

std::vector<std::string_view> eventKindNames() {
  return {kEventKinds.begin(), kEventKinds.end()};
}

std::string_view nameOf(DifferenceKind kind) {
  static constexpr std::array<std::string_view, 5> kNames{"stream", "span", "header", "signal", "setting"};
  return nameIn(kNames, kind);
}

std::string_view nameOf(Judgement judgement) {
  static constexpr std::array<std::string_view, 3> kNames{"whole", "open-ended", "damaged"};
  return nameIn(kNames, judgement);
}

}  // namespace Kvex
