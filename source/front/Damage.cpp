#include <algorithm>

#include "front/DamageData.h"
#include "front/DamageTexts.h"
#include "front/StreamData.h"
#include "library/Saturating.h"

namespace Kvex {

namespace {

/// Between which times data of a place is lost. Where nothing of the stream came before or behind it, that is the start
/// or the end of the file.
void setTimes(Place& place, const Sto::Damage& damage, Span file) {
  place.from = damage.time;
  place.to = damage.until;
  const bool ends = place.kind == DamageKind::HeaderIncomplete || place.kind == DamageKind::StructureBroken;
  if (file.start == kNoTime || (!ends && !damage.interrupts)) return;
  if (place.from == kNoTime) place.from = file.start;
  if (place.to == kNoTime && place.from < file.end) place.to = file.end;
}

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
  if (first != places.end()) text += (first->stream ? "; " : ": ") + first->text;
  if (placesInAll > 1) text += "; " + Front::counted(placesInAll, "damaged place") + " in all";
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
  const Front::DamageTexts texts(span, resource.kind == Sto::ResourceKind::Recording ? "page" : "packet");
  for (const Sto::Damage& damage : resource.damage.places()) {
    Place& place = data->places.emplace_back();
    place.kind = static_cast<DamageKind>(damage.kind);
    if (damage.stream != nullptr) place.stream = static_cast<std::uint32_t>(damage.stream->entry.index);
    setTimes(place, damage, span);
    place.count = damage.count;
    place.lost = losesData(damage.kind);
    place.text = texts.text(place);
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

Nano Damage::timeLost(std::uint32_t stream) const {
  std::vector<Span> lost;
  for (const Place& place : data_->places) {
    const bool concerns = !place.stream || *place.stream == stream;
    if (concerns && place.from != kNoTime && place.to != kNoTime) lost.push_back({place.from, place.to});
  }
  std::ranges::sort(lost, {}, &Span::start);
  Nano sum = 0;
  Nano counted = kNoTime;
  for (const Span& span : lost) {
    const Nano start = std::max(span.start, counted);
    if (span.end > start) sum = Lib::saturatingAdd(sum, Lib::saturatingSubtract(span.end, start));
    counted = std::max(counted, span.end);
  }
  return sum;
}

const std::vector<Counter>& Damage::counters() const {
  return data_->counters;
}

const std::vector<std::string>& Damage::notes() const {
  return data_->notes;
}

}  // namespace Kvex
