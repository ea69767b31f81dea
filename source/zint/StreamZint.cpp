#include "zint/StreamZint.h"

#include <utility>

namespace Kvex::Sto {

namespace {

constexpr std::string_view kDefinitionTag = "/Kvex-Zint-Dbu/";

}  // namespace

StreamZint::StreamZint(ResourceKind kind, std::uint32_t serialNumber)
    : TabledStream(kind, serialNumber, StreamCodec::Zint, {&table_}) {}

bool StreamZint::headerReady() {
  Com::TaggedPacket* definition = header.findHeader(kDefinitionTag);
  if (definition == nullptr) return false;
  decoder_.setDefinitions(std::exchange(definition->document, nullptr));  // not needed any more, and may be large
  headerAccepted = true;
  for (const Zint::Signal* signal : decoder_.definitions().carriedSignals) insertRow(*signal);
  return true;
}

void StreamZint::insertRow(const Zint::Signal& signal) {
  Lib::withType(signal.form().mappedType, [&](auto tag) {
    using T = typename decltype(tag)::Type;
    Table::Row<T> row;
    row.name = signal.name();
    row.unit = signal.unit();
    row.description = signal.comment();
    row.resolution = 1.0;
    row.decimals = decimalsOf(row.resolution);
    row.rangeLow = signal.rangeLow();
    row.rangeHigh = signal.rangeHigh();
    row.groupMask = kDefinedGroup;
    row.elementIndex = signal.slot;
    row.accessor = [](const Zint::ComData& data, std::uint32_t slot, std::uint32_t) -> const Lib::NavField<T>& {
      return data.at<T>(slot);
    };
    table_.insert(std::move(row));  // refused beyond the table's limit and for a repeated name
  });
}

bool StreamZint::probePacket(ByteView packet) {
  if (decoder_.state() != Zint::ComDecoder::State::Probing) {
    decoder_.decode(packet);
    return false;
  }
  decoder_.probe(packet);
  return decoder_.state() == Zint::ComDecoder::State::Timed;
}

void StreamZint::scanPacket(ByteView packet) {
  probePacket(packet);
}

void StreamZint::reset() {
  decoder_.reset();
  followTime(0);
}

void StreamZint::probeDone() {
  reset();
  if (headerAccepted) firstRecord_ = decoder_.data();
}

void StreamZint::scanDone() {
  if (headerAccepted) lastRecord_ = decoder_.data();
  reset();
  header.addHeader(scanTag());
  hasTime = decoder_.time().usable() && firstRecord_.time().usable() && lastRecord_.time().usable();
}

}  // namespace Kvex::Sto
