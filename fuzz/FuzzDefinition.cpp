// A definition document, a zero byte, and the messages that are decoded by it, each behind a byte with its length.

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "recording/TaggedPacket.h"
#include "support/Check.h"
#include "zint/ComDecoder.h"

namespace {

using namespace Kvex;

/// Whether two decoders of one definition hold the same.
bool sameFields(Zint::ComDecoder& a, Zint::ComDecoder& b) {
  const Zint::ComData& dataA = a.data();
  const Zint::ComData& dataB = b.data();
  return std::ranges::all_of(a.definitions().carriedSignals, [&](const Zint::Signal* signal) {
    bool same = false;
    Lib::withType(signal->form().mappedType, [&](auto tag) {
      using T = typename decltype(tag)::Type;
      const Lib::NavField<T>& fieldA = dataA.at<T>(signal->slot);
      const Lib::NavField<T>& fieldB = dataB.at<T>(signal->slot);
      same = std::memcmp(&fieldA.value, &fieldB.value, sizeof(T)) == 0 && fieldA.stamp == fieldB.stamp &&
             fieldA.flags == fieldB.flags;
    });
    return same;
  });
}

void checkLinks(const Zint::Definitions& definitions) {
  for (const Zint::Message& message : definitions.messages) {
    Fuzz::check(!message.signals->empty() && std::ranges::is_sorted(*message.signals, {}, &Zint::Signal::id));
    for (const Zint::Signal* signal : *message.signals) {
      Fuzz::check(definitions.carriedSignals.at(signal->listIndex) == signal);
    }
  }
}

void feed(Zint::ComDecoder& decoder, Lib::ByteView packet) {
  if (decoder.state() == Zint::ComDecoder::State::Probing) {
    decoder.probe(packet);
  } else {
    decoder.decode(packet);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::uint8_t* const end = data + size;
  const std::uint8_t* at = std::find(data, end, 0);
  const Com::TaggedPacket definition("/T/" + std::string(data, at));
  Zint::ComDecoder late;
  Zint::ComDecoder early;
  late.setDefinitions(definition.document);
  early.setDefinitions(definition.document);
  checkLinks(late.definitions());
  for (const auto& [id, signal] : late.definitions().signals) {
    std::ostringstream text;
    signal->describe(text);
    signal->printValue(text, {data, std::min<std::size_t>(size, 12)});
  }
  if (at != end) ++at;
  while (at != end) {
    const std::size_t length = std::min<std::size_t>(*at, static_cast<std::size_t>(end - at - 1));
    ++at;
    // A copy of exactly this length, so that a read beyond it is seen.
    const std::vector<std::uint8_t> packet(at, at + length);
    at += length;
    for (Zint::ComDecoder* decoder : {&late, &early}) {
      feed(*decoder, {packet.data(), packet.size()});
      if (length == 0) decoder->reset();
    }
    early.data();
  }
  Fuzz::check(sameFields(late, early));
  return 0;
}
