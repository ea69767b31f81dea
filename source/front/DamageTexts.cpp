#include "front/DamageTexts.h"

#include <cmath>
#include <cstdio>

#include "library/Saturating.h"

namespace Kvex::Front {

namespace {

/// How finely times are written: to a tenth of a second, or to a millisecond where that would say nothing.
struct Precision {
  explicit Precision(Nano length) : decimals(length < kNanosPerSecond ? 3 : 1) {}

  std::string seconds(Nano nanos) const {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, static_cast<double>(rounded(nanos)) * 1e-9);
    return text;
  }
  /// "2024-12-03T09:00:07.0".
  std::string utc(Nano time) const {
    constexpr std::size_t kToPoint = 20;
    return utcText(rounded(time)).substr(0, kToPoint + static_cast<std::size_t>(decimals));
  }

  int decimals;

 private:
  Nano rounded(Nano nanos) const {
    const Nano step = decimals == 1 ? kNanosPerSecond / 10 : kNanosPerSecond / 1000;
    Nano result = 0;
    if (__builtin_add_overflow(nanos, step / 2, &result)) return nanos;
    return __builtin_sub_overflow(result, (result % step + step) % step, &result) ? nanos : result;
  }
};

}  // namespace

std::string counted(std::uint64_t count, std::string_view noun) {
  return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

std::string DamageTexts::text(const Place& place) const {
  const std::string of = place.stream ? "stream " + std::to_string(*place.stream) + ": " : "";
  return of + what(place) + when(place);
}

std::string DamageTexts::what(const Place& place) const {
  const std::string pages = counted(place.count, "page");
  const bool one = place.count == 1;
  switch (place.kind) {
    case DamageKind::HeaderIncomplete:
      return "the header is incomplete, so that none of its signals can be read";
    case DamageKind::PagesMissing:
      return pages + " missing";
    case DamageKind::PagesLate:
      return pages + " came too late and " + (one ? "was" : "were") + " dropped";
    case DamageKind::PagesTwice:
      return pages + " came twice, which loses nothing";
    case DamageKind::PacketsDropped:
      return "a packet was larger than any record and was dropped";
    case DamageKind::StructureBroken:
      return "the pages are out of order, and nothing is read from there on";
    case DamageKind::JunkBytes:
      return counted(place.count, "byte") + (one ? " belongs" : " belong") + " to no good " + unit_;
    case DamageKind::CutOff:
      return "the file ends within a " + unit_ + ", of which " + counted(place.count, "byte") + (one ? " is" : " are") +
             " there";
    case DamageKind::PagesUnclaimed:
      return pages + (one ? " is" : " are") +
             " of streams whose first page is missing or comes too late, so that nothing of them can be read";
    default:
      return "no end page: the recording was not closed, or its end is missing";
  }
}

std::string DamageTexts::when(const Place& place) const {
  if (file_.start == kNoTime || place.from == kNoTime) return "";
  if (place.to != kNoTime) return lostBetween(place.from, place.to);
  const bool isEnd = place.kind == DamageKind::CutOff || place.kind == DamageKind::EndMissing;
  return isEnd ? "" : near(place.from);
}

std::string DamageTexts::lostBetween(Nano from, Nano to) const {
  const Precision shown(Lib::saturatingSubtract(to, from));
  constexpr std::size_t kTimeOfDay = 11;
  const auto date = [](Nano time) { return utcText(time).substr(0, kTimeOfDay); };
  const std::size_t skipped = date(file_.start) == date(file_.end) ? kTimeOfDay : 0;
  return ", " + shown.seconds(Lib::saturatingSubtract(to, from)) + " s of data lost between " +
         shown.seconds(Lib::saturatingSubtract(from, file_.start)) + " s and " +
         shown.seconds(Lib::saturatingSubtract(to, file_.start)) + " s (" + shown.utc(from).substr(skipped) + " to " +
         shown.utc(to).substr(skipped) + " UTC)";
}

std::string DamageTexts::near(Nano time) const {
  if (time <= file_.start) return ", near the start";
  if (time >= file_.end) return ", near the end";
  return ", near " + Precision(kNanosPerSecond).seconds(Lib::saturatingSubtract(time, file_.start)) + " s";
}

}  // namespace Kvex::Front
