#include "zint/StreamZint.h"

#include <utility>
#include <vector>

namespace Kvex::Sto {

namespace {

constexpr std::string_view kDefinitionTag = "/Kvex-Zint-Dbu/";

}  // namespace

StreamZint::StreamZint(const StreamIdentity& identity) : RecordStream(identity, {&table_}) {}

bool StreamZint::readHeader() {
  Com::TaggedPacket* definition = header().findHeader(kDefinitionTag);
  if (definition == nullptr) return false;
  decoder_.setDefinitions(std::exchange(definition->document, nullptr));  // not needed any more, and may be large
  const auto& carried = decoder_.definitions().carriedSignals;
  std::vector<bool> shown;  // by place among the carried signals
  shown.reserve(carried.size());
  for (const Zint::Signal* signal : carried) {
    shown.push_back(insertRow(*signal, decoder_.carriers()[signal->listIndex]));
  }
  decoder_.keepSignals([&](const Zint::Signal& signal) { return shown[signal.listIndex]; });
  return true;
}

bool StreamZint::insertRow(const Zint::Signal& signal, const Zint::ComDecoder::Carrier& carrier) {
  if (!table_.takesScalar(signal.form().mappedType, signal.name())) return false;
  SignalRow row;
  row.name = signal.name();
  row.valueType = signal.form().mappedType;
  row.unit = signal.unit();
  row.description = signal.comment();
  row.resolution = 1.0;
  row.decimals = decimalsOf(row.resolution);
  row.rangeLow = signal.rangeLow();
  row.rangeHigh = signal.rangeHigh();
  row.groupMask = kDefinedGroup;
  if (carrier.name != nullptr) row.table = *carrier.name;
  row.message = carrier.list;
  row.blockIndex = signal.slot;
  Lib::withType(row.valueType, [&](auto tag) {
    using T = typename decltype(tag)::Type;
    row.accessor = accessorOf<Zint::ComData>(
        [](const Zint::ComData& data, std::uint32_t slot) -> const Lib::NavField<T>& { return data.at<T>(slot); });
  });
  return table_.insert(std::move(row));
}

bool StreamZint::take(ByteView packet, Pass) {
  if (decoder_.state() != Zint::ComDecoder::State::Probing) {
    decoder_.decode(packet);
    return false;
  }
  decoder_.probe(packet);
  return decoder_.state() == Zint::ComDecoder::State::Timed;
}

}  // namespace Kvex::Sto
