#include "range/StreamYeld.h"

#include "library/PackedText.h"
#include "range/RangeTable.h"

namespace Kvex::Sto {

namespace {

using Rng::BodyGroup;
using Rng::TargetGroup;

static_assert(RangeSources::kPlaces == Rng::kSources && RangeSources::kTargets == Rng::kTargets);

/// The second pass decodes time and identity, and no more.
Rng::RangeWantTree identityWants() {
  Rng::RangeWantTree wants;
  wants.wantAll(false);
  for (auto& target : wants.targets) target[TargetGroup::IPv4Adr] = true;
  for (BodyGroup group : {BodyGroup::DevID, BodyGroup::Range_IPv4Adr, BodyGroup::Nano, BodyGroup::Hunter_IPv4Adr}) {
    wants.body[group] = true;
  }
  wants.settleWants();
  return wants;
}

template <class T>
std::optional<T> usableValue(const Lib::NavField<T>& field) {
  if (!field.usable()) return std::nullopt;
  return field.value;
}

}  // namespace

StreamYeld::StreamYeld(ResourceKind kind, std::uint32_t serialNumber)
    : TabledStream(kind, serialNumber, StreamCodec::Yeld, {&rangeTable()}) {}

bool StreamYeld::probeRaw(ByteView packet) {
  return decoder_.feedRaw(packet) == Rng::RangeDecoder::Feed::PassDone;
}

bool StreamYeld::probePacket(ByteView packet) {
  return decoder_.feedRecorded(packet) == Rng::RangeDecoder::Feed::PassDone;
}

bool StreamYeld::headerReady() {
  headerAccepted = true;
  return true;
}

void StreamYeld::reset() {
  decoder_.reset();
  followTime(0);
}

void StreamYeld::probeDone() {
  reset();
  if (headerAccepted) firstRecord_ = decoder_.record();
  decoder_.setWants(identityWants());
}

void StreamYeld::scanDone() {
  if (headerAccepted) lastRecord_ = decoder_.record();
  reset();
  const Rng::RangeBody& last = lastRecord_.body;
  if (resourceKind == ResourceKind::RangeFile) {
    Com::TaggedPacket range("{Kvex-Range}");
    range.setText("WhoAmI", "Range");
    range.setText("Address.IPv4", last.Range_IPv4Adr.usable() ? Lib::dottedAddress(last.Range_IPv4Adr.value) : "");
    header.addHeader(std::move(range));
  }
  Com::TaggedPacket scan = scanTag();
  scan.setText("Range.DevId", last.DevID.usable() ? Lib::packedCharacters(last.DevID.value) : "");
  header.addHeader(std::move(scan));
  hasTime = liveTime().usable() && firstRecord_.body.Nano.usable() && last.Nano.usable();
}

void StreamYeld::prepareBlock(std::uint32_t block) {
  Rng::RangeWantTree wants;
  wants.wantAll(false);
  wantSubscribed(block, wants);
  wants.settleWants();
  decoder_.setWants(wants);
}

std::array<std::optional<RangeSources::Source>, RangeSources::kPlaces> StreamYeld::sources() const {
  std::array<std::optional<Source>, kPlaces> places;
  for (std::size_t i = 0; i < kPlaces; ++i) {
    const auto& [provenance, address] = lastRecord_.sources[i];
    if (provenance.usable() && address.usable()) places[i] = {address.value, provenance.value};
  }
  return places;
}

std::optional<std::uint32_t> StreamYeld::hunterAddress() const {
  return usableValue(lastRecord_.body.Hunter_Address);
}

std::array<std::optional<std::uint32_t>, RangeSources::kTargets> StreamYeld::targetAddresses() const {
  std::array<std::optional<std::uint32_t>, kTargets> addresses;
  for (std::size_t i = 0; i < kTargets; ++i) addresses[i] = usableValue(lastRecord_.targets[i].Address);
  return addresses;
}

}  // namespace Kvex::Sto
