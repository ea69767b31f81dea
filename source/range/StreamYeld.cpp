#include "range/StreamYeld.h"

#include "library/PackedText.h"
#include "range/RangeTable.h"
#include "store/RangeLinks.h"

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

StreamYeld::StreamYeld(const StreamIdentity& identity) : RecordStream(identity, {&rangeTable()}) {}

bool StreamYeld::take(ByteView packet, Pass) {
  const Rng::RangeDecoder::Feed fed =
      resourceKind() == ResourceKind::Recording ? decoder_.feedRecorded(packet) : decoder_.feedRaw(packet);
  return fed == Rng::RangeDecoder::Feed::PassDone;
}

void StreamYeld::addKinds(ByteView packet, std::vector<std::uint64_t>& kinds) const {
  const ByteView bytes = resourceKind() == ResourceKind::Recording ? packet.from(Rng::kRecordHead) : packet;
  const std::optional<Rng::PacketHead> head = Rng::readHead(bytes);
  if (!head) return;
  std::uint64_t part = 0;
  if (head->isTimed()) {
    part = bytes.u8(head->channelOffset);
  } else if (head->type == Rng::PacketType::Source) {
    part = bytes.u32(4);
  } else {
    part = bytes.u8(6) << 8 | bytes.u8(8);  // points of a vehicle, from an index on
  }
  kinds.push_back(static_cast<std::uint64_t>(head->pair()) << 32 | part);
}

void StreamYeld::prepareScan() {
  decoder_.setWants(identityWants());
}

void StreamYeld::want(const std::vector<const SignalRow*>& rows) {
  Rng::RangeWantTree wants;
  wants.wantAll(false);
  for (const SignalRow* row : rows) row->want(&wants, row->blockIndex);
  wants.settleWants();
  decoder_.setWants(wants);
}

void StreamYeld::describeScan(Com::TaggedPacket& tag) {
  const Rng::RangeBody& last = last_.body;
  if (resourceKind() == ResourceKind::RangeFile) {
    Com::TaggedPacket range{std::string(kRangeTag)};
    range.setText("WhoAmI", "Range");
    range.setText("Address.IPv4", last.Range_IPv4Adr.usable() ? Lib::dottedAddress(last.Range_IPv4Adr.value) : "");
    header().addHeader(std::move(range));
  }
  tag.setText("Range.DevId", last.DevID.usable() ? Lib::packedCharacters(last.DevID.value) : "");
}

std::array<std::optional<RangeSources::Source>, RangeSources::kPlaces> StreamYeld::sources() const {
  std::array<std::optional<Source>, kPlaces> places;
  for (std::size_t i = 0; i < kPlaces; ++i) {
    const auto& [provenance, address] = last_.sources[i];
    if (provenance.usable() && address.usable()) places[i] = {address.value, provenance.value};
  }
  return places;
}

std::optional<std::uint32_t> StreamYeld::hunterAddress() const {
  return usableValue(last_.body.Hunter_Address);
}

std::array<std::optional<std::uint32_t>, RangeSources::kTargets> StreamYeld::targetAddresses() const {
  std::array<std::optional<std::uint32_t>, kTargets> addresses;
  for (std::size_t i = 0; i < kTargets; ++i) addresses[i] = usableValue(last_.targets[i].Address);
  return addresses;
}

}  // namespace Kvex::Sto
