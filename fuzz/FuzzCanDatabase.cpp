// The text of a CAN database, in the header of a stream: what is read of it, listed and extracted through it.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "can/CanDatabase.h"
#include "can/CanDecoder.h"
#include "can/StreamCan.h"
#include "support/Check.h"
#include "synth/CanPacket.h"

using namespace Kvex;

namespace {

/// A frame of every length for each message: no signal may reach beyond a frame.
void extractAll(Can::CanDecoder& decoder) {
  std::vector<Can::CanField> fields = decoder.emptyFields();
  const std::vector<std::uint8_t> data(Can::kMaxFrameLength, 0xA5);
  for (std::uint8_t code = 0; code < Can::kFrameLengths.size(); ++code) {
    Synth::CanPacket packet(code);
    for (const Can::CanMessage& message : decoder.database().messages()) packet.addCodedFrame(message.id, code, data);
    for (const bool selective : {false, true}) {
      decoder.setSelective(selective);
      decoder.decode(packet.bytes(), code, fields);
      decoder.extract(fields);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  Can::CanDatabase database(text);
  Fuzz::check(database.messages().size() <= Can::CanDatabase::kMaxMessages);
  Fuzz::check(database.signals().size() <= Can::CanDatabase::kMaxSignals);
  for (const Can::CanMessage& message : database.messages()) {
    Fuzz::check(database.find(message.id) == &message);
    for (const Can::CanSignal& signal : database.signalsOf(message)) {
      Fuzz::check(signal.messageIndex == message.index && signal.lowBit >= 0);
    }
  }
  Can::CanDecoder decoder(std::move(database));
  extractAll(decoder);

  Sto::StreamCan stream({Lib::StreamCodec::Can, Sto::ResourceKind::Recording, 1});
  Com::TaggedHeader header;
  header.addHeader(Com::TaggedPacket("(Kvex-Can-Dbc)" + text));
  stream.takeHeader(std::move(header), {});
  Fuzz::check(stream.headerAccepted());
  std::vector<Sto::SignalListing> listings;
  stream.listSignals(listings, UINT32_MAX);
  for (const Sto::SignalListing& listing : listings) {
    // Throws where a text is not UTF-8.
    nlohmann::json({listing.name, listing.unit, listing.description}).dump();
    if (listing.valueText != nullptr) listing.valueText(stream.lastValue(listing.name), listing);
  }
  return 0;
}
