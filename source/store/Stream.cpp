#include "store/Stream.h"

#include <algorithm>
#include <map>

#include "library/Enumerations.h"

namespace Kvex::Sto {

namespace {

/// Packets of a walk between two questions to its watcher.
constexpr unsigned kPacketsPerWatch = 1024;

}  // namespace

Stream::Stream(ResourceKind kind, std::uint32_t serialNumber, StreamCodec streamCodec)
    : resourceKind(kind), codec(streamCodec), serial(serialNumber) {}

std::string Stream::headerTag() const {
  return primaryTag(codec);
}

std::string primaryTag(StreamCodec codec) {
  return "[Kvex-" + std::string(Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(codec))) + "]";
}

StreamInfo Stream::info() const {
  StreamInfo result;
  result.groupIndex = groupIndex;
  result.name = name;
  result.index = index;
  result.serial = serial;
  result.codec = codec;
  result.headerSeen = headerSeen;
  result.headerAccepted = headerAccepted;
  result.hasTime = hasTime;
  if (hasTime) {
    result.startTime = startSample().asInteger();
    result.endTime = endSample().asInteger();
  }
  return result;
}

std::vector<SignalListing> Stream::namedSignals() const {
  const auto runIndex = [](const SignalListing& listing) {
    return std::ranges::find(Lib::kAllRuns, listing.run()) - Lib::kAllRuns.begin();
  };
  std::vector<SignalListing> all;
  listSignals(all, ~std::uint32_t{0});
  std::vector<SignalListing> named;
  std::map<std::string, std::size_t> places;
  for (SignalListing& listing : all) {
    const auto [place, isNew] = places.emplace(listing.name, named.size());
    if (isNew) {
      named.push_back(std::move(listing));
    } else if (SignalListing& known = named[place->second]; runIndex(listing) < runIndex(known)) {
      known = std::move(listing);
    }
  }
  return named;
}

std::string Stream::grouping() const {
  std::string text;
  if (const Com::TaggedPacket* packet = header.findHeader("{Kvex-Grouping}")) packet->getText("Grouping", text);
  return text;
}

Com::TaggedPacket Stream::scanTag() const {
  Com::TaggedPacket packet("{Kvex-StreamScan}");
  packet.setText("StreamCodec", Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(codec)));
  return packet;
}

void Stream::followTime(std::int64_t newPosition) {
  const Lib::NavField<Nano>& newest = liveTime();
  timeFlags = newest.flags;
  if (!newest.usable()) return;
  if (newest.value != time) previousPosition = position;
  time = newest.value;
  position = newPosition;
}

bool Stream::walkOnePacket() {
  ByteView packet;
  if (!logical->next(packet)) return false;
  if (resourceKind == ResourceKind::Recording) {
    walkPacket(packet);
  } else {
    walkRaw(packet);
  }
  followTime(logical->packetNumber());
  return true;
}

bool Stream::seekTo(Nano t) {
  if (!hasTime || logical == nullptr) return false;
  const bool rewinds = requestedTime > t;
  if (rewinds) {
    live = false;
    reset();
    logical->rewind();
  }
  logical->resume();
  if (!rewinds) return true;
  if (walkOnePacket()) live = true;
  requestedTime = time;
  return true;
}

bool Stream::walkTo(Nano t, WalkWatcher* watcher, bool& stopped) {
  for (unsigned packets = 1; !timeReached(t); ++packets) {
    if (!walkOnePacket()) return false;
    if (watcher != nullptr && packets % kPacketsPerWatch == 0 && !watcher->goOn(time)) {
      stopped = true;
      return false;
    }
  }
  return true;
}

bool Stream::skipTo(Nano t, WalkWatcher* watcher) {
  bool reached = false;
  if (live) {
    bool stopped = false;
    reached = walkTo(t, watcher, stopped);
    if (!reached && !stopped) {
      live = false;
      logical->close();
    }
  }
  requestedTime = t;
  return reached;
}

bool Stream::advanceTo(Nano t, WalkWatcher* watcher) {
  if (!hasTime || logical == nullptr) return false;
  bool stopped = false;
  const bool reached = walkTo(t, watcher, stopped);
  requestedTime = t;
  return reached;
}

}  // namespace Kvex::Sto
