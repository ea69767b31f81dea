#include "store/Stream.h"

#include <map>
#include <utility>

#include "library/Enumerations.h"

namespace Kvex::Sto {

std::string primaryTag(StreamCodec codec) {
  return "[Kvex-" + std::string(Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(codec))) + "]";
}

Stream::Stream(const StreamIdentity& identity, std::vector<const SignalTable*> tables)
    : identity_(identity), tables_(std::move(tables)) {}

StreamInfo Stream::info() const {
  StreamInfo result;
  static_cast<StreamEntry&>(result) = entry;
  result.resourceIndex = -1;  // the store fills in what it knows of the file
  result.serial = serial();
  result.codec = codec();
  result.headerSeen = headerSeen_;
  result.headerAccepted = headerAccepted_;
  result.hasTime = hasTime_;
  if (hasTime_) {
    result.startTime = startSample().asInteger();
    result.endTime = endSample().asInteger();
  }
  return result;
}

void Stream::takeHeader(Com::TaggedHeader header, Com::TaggedPacket trailer) {
  header_ = std::move(header);
  trailer_ = std::move(trailer);
  headerSeen_ = true;
  headerAccepted_ = readHeader();
}

std::string Stream::grouping() const {
  std::string text;
  if (const Com::TaggedPacket* packet = header_.findHeader("{Kvex-Grouping}")) packet->getText("Grouping", text);
  return text;
}

void Stream::addKinds(ByteView, std::vector<std::uint64_t>& kinds) const {
  kinds.push_back(0);
}

std::size_t Stream::takeStep(ByteView packet, std::size_t) {
  take(packet, Pass::Walk);
  liveRecord();
  return packet.size();
}

const SignalRow* Stream::findRow(Run run, std::string_view name) const {
  for (const SignalTable* table : tables_) {
    if (const SignalRow* row = table->find(run, name)) return row;
  }
  return nullptr;
}

std::size_t Stream::listSignals(std::vector<SignalListing>& out, std::uint32_t mask) const {
  const std::size_t before = out.size();
  for (const SignalTable* table : tables_) {
    table->forEach([&](const SignalRow& row) {
      if ((row.groupMask & mask) != 0) out.push_back({row, entry.index});
    });
  }
  return out.size() - before;
}

std::vector<SignalListing> Stream::namedSignals() const {
  std::vector<SignalListing> all;
  listSignals(all, ~std::uint32_t{0});
  std::vector<SignalListing> named;
  std::map<std::string, std::size_t> places;
  for (SignalListing& listing : all) {
    const auto [place, isNew] = places.emplace(listing.name, named.size());
    if (isNew) {
      named.push_back(std::move(listing));
    } else if (SignalListing& known = named[place->second]; Lib::runIndex(listing.run()) < Lib::runIndex(known.run())) {
      known = std::move(listing);
    }
  }
  return named;
}

Sample Stream::valueIn(const void* record, std::string_view name) const {
  for (const SignalTable* table : tables_) {
    if (const SignalRow* row = table->findScalar(name)) return row->read(record);
  }
  return {};
}

Com::TaggedPacket Stream::scanTag() const {
  Com::TaggedPacket packet("{Kvex-StreamScan}");
  packet.setText("StreamCodec", Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(codec())));
  return packet;
}

}  // namespace Kvex::Sto
