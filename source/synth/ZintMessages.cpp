#include "synth/ZintMessages.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>

namespace Kvex::Synth {

namespace {

using nlohmann::json;

constexpr std::size_t kIdBytes = 2;
constexpr std::uint32_t kFloatBits = 32;

/// A whole number is written without fraction; one without sign counts as unsigned.
json jsonNumber(double value) {
  if (std::trunc(value) != value || std::abs(value) >= 0x1p63) return value;
  if (value < 0) return static_cast<std::int64_t>(value);
  return static_cast<std::uint64_t>(value);
}

template <class T>
void putIfSet(json& entry, const char* key, const std::optional<T>& value) {
  if (!value) return;
  if constexpr (std::is_same_v<T, double>) {
    entry[key] = jsonNumber(*value);
  } else {
    entry[key] = *value;
  }
}

json entryOf(const ZintSignal& signal) {
  json entry{{"ID", signal.id}};
  putIfSet(entry, "IP", signal.parent);
  putIfSet(entry, "DN", signal.name);
  putIfSet(entry, "DU", signal.unit);
  putIfSet(entry, "DC", signal.comment);
  putIfSet(entry, "BO", signal.bitOffset);
  putIfSet(entry, "BS", signal.bitSize);
  putIfSet(entry, "BT", signal.base);
  putIfSet(entry, "MT", signal.mapped);
  putIfSet(entry, "MS", signal.scale);
  putIfSet(entry, "MO", signal.offset);
  putIfSet(entry, "ML", signal.low);
  putIfSet(entry, "MH", signal.high);
  return entry;
}

json entryOf(const ZintMessage& message) {
  json entry{{"ID", message.id}};
  putIfSet(entry, "IP", message.parent);
  putIfSet(entry, "DN", message.name);
  putIfSet(entry, "DC", message.comment);
  if (!message.signals.empty()) entry["BS"] = message.signals;
  return entry;
}

template <class Entry>
json entriesOf(const std::vector<Entry>& entries) {
  json array = json::array();
  for (const Entry& entry : entries) array.push_back(entryOf(entry));
  return array;
}

template <class Entry, class Key, class Member>
const Entry& find(const std::vector<Entry>& entries, const Key& key, Member member) {
  const auto found = std::ranges::find_if(entries, [&](const Entry& entry) { return entry.*member == key; });
  if (found == entries.end()) throw std::out_of_range("no such entry in the definition");
  return *found;
}

std::size_t payloadBytes(const ZintDefinition& definition, std::uint64_t messageId) {
  std::size_t bits = 8;  // a packet has a payload of one byte at least
  for (const std::uint64_t id : definition.message(messageId).signals) {
    const ZintSignal& signal = definition.signal(id);
    bits = std::max<std::size_t>(bits, signal.bitOffset.value_or(0) + signal.bitSize.value_or(0));
  }
  return (bits + 7) / 8;
}

}  // namespace

json ZintDefinition::document() const {
  return {{"V", 1U}, {"M", entriesOf(messages)}, {"S", entriesOf(signals)}};
}

std::string ZintDefinition::headerPacket() const {
  return "/Kvex-Zint-Dbu/" + document().dump();
}

const ZintMessage& ZintDefinition::message(std::uint64_t id) const {
  return find(messages, id, &ZintMessage::id);
}
const ZintSignal& ZintDefinition::signal(std::uint64_t id) const {
  return find(signals, id, &ZintSignal::id);
}
const ZintSignal& ZintDefinition::signal(std::string_view name) const {
  return find(signals, name, &ZintSignal::name);
}

ZintPacket::ZintPacket(std::uint16_t messageId, std::size_t payloadBytes) : bytes_(kIdBytes + payloadBytes) {
  bytes_[0] = static_cast<std::uint8_t>(messageId);
  bytes_[1] = static_cast<std::uint8_t>(messageId >> 8);
}

ZintPacket::ZintPacket(const ZintDefinition& definition, std::uint64_t messageId)
    : ZintPacket(static_cast<std::uint16_t>(messageId), payloadBytes(definition, messageId)) {}

void ZintPacket::setBits(std::uint32_t bitOffset, std::uint32_t bitSize, std::uint64_t bits) {
  std::uint32_t left = std::min<std::uint32_t>(bitSize, 64);
  std::uint32_t shift = bitOffset % 8;
  for (std::size_t at = kIdBytes + bitOffset / 8; left > 0 && at < bytes_.size(); ++at) {
    const std::uint32_t taken = std::min(left, 8 - shift);
    const std::uint32_t mask = ((1U << taken) - 1) << shift;
    bytes_[at] = static_cast<std::uint8_t>((bytes_[at] & ~mask) | (static_cast<std::uint32_t>(bits) << shift & mask));
    bits >>= taken;
    left -= taken;
    shift = 0;
  }
}

void ZintPacket::setReal(const ZintSignal& signal, double raw) {
  const std::uint64_t bits = *signal.bitSize <= kFloatBits ? std::bit_cast<std::uint32_t>(static_cast<float>(raw))
                                                           : std::bit_cast<std::uint64_t>(raw);
  setBits(*signal.bitOffset, *signal.bitSize, bits);
}

}  // namespace Kvex::Synth
