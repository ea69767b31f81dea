#include <algorithm>
#include <cstdio>
#include <string_view>

#include "front/DamageData.h"
#include "front/StreamData.h"

namespace Kvex {

namespace {

std::string counted(std::uint64_t count, std::string_view noun) {
  return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

/// What damage means, in words.
class Teller {
 public:
  Teller(Span span, bool isRecording) : span_(span), unit_(isRecording ? "page" : "packet") {}

  std::string report(const Sto::Damage& damage) const {
    const bool one = damage.count == 1;
    const std::string pages = counted(damage.count, "page");
    const std::string of = damage.stream == nullptr ? "" : "stream " + std::to_string(damage.stream->entry.index);
    const std::string place = near(damage.time);
    switch (damage.kind) {
      case Sto::DamageKind::HeaderIncomplete:
        return "the header of " + of + " is incomplete, so that nothing of it can be read";
      case Sto::DamageKind::PagesMissing:
        return pages + " of " + of + (one ? " is" : " are") + " missing" + place;
      case Sto::DamageKind::PagesLate:
        return pages + " of " + of + " came too late and " + (one ? "was" : "were") + " dropped" + place;
      case Sto::DamageKind::PagesTwice:
        return pages + " of " + of + " came twice" + place + ", which loses nothing";
      case Sto::DamageKind::PacketsDropped:
        return "a packet of " + of + " was larger than any record and was dropped" + place;
      case Sto::DamageKind::StructureBroken:
        return "the pages of " + of + " are out of order" + place + ": nothing of it is read from there on";
      case Sto::DamageKind::JunkBytes:
        return counted(damage.count, "byte") + (one ? " belongs" : " belong") + " to no good " + unit_ + place;
      case Sto::DamageKind::CutOff:
        return "the file ends within a " + unit_ + ", of which " + counted(damage.count, "byte") +
               (one ? " is" : " are") + " there";
      default:
        return of + " has no end page: the recording was not closed, or its end is missing";
    }
  }

 private:
  /// ", near 12.4 s": seconds from the start of the file.
  std::string near(Nano time) const {
    if (span_.start == kNoTime) return "";
    if (time <= span_.start) return ", near the start";
    if (time >= span_.end) return ", near the end";
    char text[48];
    std::snprintf(text, sizeof text, ", near %.1f s", static_cast<double>(time - span_.start) * 1e-9);
    return text;
  }

  Span span_;
  std::string unit_;
};

bool isOpenEnd(const Place& place) {
  return !place.lost || place.kind == DamageKind::EndMissing || place.kind == DamageKind::CutOff;
}

Judgement judgementOn(const std::vector<Place>& places, bool allKept, bool lost) {
  if (!lost) return Judgement::Whole;
  return allKept && std::ranges::all_of(places, isOpenEnd) ? Judgement::OpenEnded : Judgement::Damaged;
}

std::string sentenceOn(Judgement judgement, const std::vector<Place>& places, std::uint64_t placesInAll) {
  if (judgement == Judgement::Whole) return "Nothing was lost.";
  if (judgement == Judgement::OpenEnded) return "The recording was not closed; up to its end nothing was lost.";
  // Missing pages say most about the data.
  auto first = std::ranges::find(places, DamageKind::PagesMissing, &Place::kind);
  if (first == places.end()) first = std::ranges::find_if(places, &Place::lost);
  std::string text = "Data was lost";
  if (first != places.end()) text += ": " + first->text;
  if (placesInAll > 1) text += "; " + counted(placesInAll, "damaged place") + " in all";
  return text + '.';
}

std::vector<std::string> notesOn(const Sto::Resource& resource) {
  std::vector<std::string> notes;
  for (const auto& [serial, stream] : resource.streams) {
    const std::string number = std::to_string(stream->entry.index);
    if (stream->headerSeen() && !stream->headerAccepted()) {
      notes.push_back("the header of stream " + number + " does not define its signals");
    } else if (stream->headerAccepted() && !stream->hasTime()) {
      notes.push_back("stream " + number + " has no time, so that its values cannot be read");
    }
  }
  return notes;
}

}  // namespace

Damage DamageAccess::judge(const Sto::Resource& resource, Span span) {
  auto data = std::make_shared<Damage::Data>();
  const Teller teller(span, resource.kind == Sto::ResourceKind::Recording);
  for (const Sto::Damage& damage : resource.damage.places()) {
    Place& place = data->places.emplace_back();
    place.kind = static_cast<DamageKind>(damage.kind);
    if (damage.stream != nullptr) place.stream = static_cast<std::uint32_t>(damage.stream->entry.index);
    place.from = damage.time;
    place.count = damage.count;
    place.lost = losesData(damage.kind);
    place.text = teller.report(damage);
  }
  data->placesInAll = resource.damage.total();
  data->lost = resource.damage.lossy();
  data->judgement = judgementOn(data->places, data->placesInAll == data->places.size(), data->lost);
  data->sentence = sentenceOn(data->judgement, data->places, data->placesInAll);
  data->counters = fileCounters(resource);
  data->notes = notesOn(resource);
  return Damage(std::move(data));
}

Judgement Damage::judgement() const {
  return data_->judgement;
}

const std::string& Damage::sentence() const {
  return data_->sentence;
}

bool Damage::lost() const {
  return data_->lost;
}

const std::vector<Place>& Damage::places() const {
  return data_->places;
}

std::uint64_t Damage::placesInAll() const {
  return data_->placesInAll;
}

const std::vector<Counter>& Damage::counters() const {
  return data_->counters;
}

const std::vector<std::string>& Damage::notes() const {
  return data_->notes;
}

}  // namespace Kvex
