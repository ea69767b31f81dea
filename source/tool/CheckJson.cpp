#include "tool/CheckJson.h"

#include <filesystem>
#include <span>

#include "tool/Counters.h"
#include "tool/Seconds.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

Json countersJson(std::span<const Counter> counters) {
  Json json = Json::object();
  for (const Counter& counter : counters) json[counter.name] = counter.count;
  return json;
}

Json timeJson(Nano time) {
  return time == kNoTime ? Json() : Json(time);
}

Json utcJson(Nano time) {
  return time == kNoTime ? Json() : Json(utcText(time));
}

/// Seconds from one time to another.
Json secondsJson(Nano from, Nano to) {
  if (from == kNoTime || to == kNoTime) return nullptr;
  return secondsBetween(from, to);
}

Json placeJson(const Place& place, Nano fileStart) {
  return {{"kind", nameOf(place.kind)},
          {"stream", place.stream ? Json(*place.stream) : Json()},
          {"count", place.count},
          {"lost", place.lost},
          {"from", timeJson(place.from)},
          {"to", timeJson(place.to)},
          {"fromUtc", utcJson(place.from)},
          {"toUtc", utcJson(place.to)},
          {"fromSeconds", secondsJson(fileStart, place.from)},
          {"toSeconds", secondsJson(fileStart, place.to)},
          {"secondsLost", secondsJson(place.from, place.to)},
          {"text", place.text}};
}

}  // namespace

std::uint64_t sizeOf(const File& file) {
  std::error_code ignored;
  return std::filesystem::file_size(file.path(), ignored);
}

Json checkJson(const File& file) {
  Json streams = Json::array();
  for (const Stream& stream : file.streams()) {
    streams.push_back({{"id", stream.id()},
                       {"serial", stream.serial()},
                       {"codec", stream.codec()},
                       {"name", stream.name()},
                       {"secondsLost", secondsJson(0, file.damage().timeLost(stream.id()))},
                       {"counters", countersJson(ownCounters(stream, file))}});
  }
  const Damage& damage = file.damage();
  Json places = Json::array();
  const Nano fileStart = file.hasTime() ? file.span().start : kNoTime;
  for (const Place& place : damage.places()) places.push_back(placeJson(place, fileStart));
  return {{"file", file.path()},
          {"size", sizeOf(file)},
          {"judgement", nameOf(file.judgement())},
          {"lost", damage.lost()},
          {"verdict", damage.sentence()},
          {"counters", countersJson(damage.counters())},
          {"streams", std::move(streams)},
          {"placesInAll", damage.placesInAll()},
          {"places", std::move(places)},
          {"notes", damage.notes()}};
}

}  // namespace Kvex::Tool
