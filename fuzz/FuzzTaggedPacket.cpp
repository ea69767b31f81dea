// The bytes of one tagged packet.

#include <string>

#include "recording/TaggedPacket.h"
#include "support/Check.h"

using namespace Kvex;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Kind = Com::TaggedPacket::Kind;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const Com::TaggedPacket packet(bytes);

  Fuzz::check((packet.kind == Kind::Invalid) == packet.tag.empty());
  Fuzz::check(bytes.starts_with(packet.tag));
  const bool keyValue = packet.kind == Kind::Primary || packet.kind == Kind::KeyValue;
  Fuzz::check(packet.data == (keyValue ? "" : bytes.substr(packet.tag.size())));
  Fuzz::check(keyValue || packet.values.empty());
  Fuzz::check(packet.kind == Kind::Json || packet.document.is_null());
  for (const auto& [key, value] : packet.values) {
    std::uint32_t number = 0;
    std::string text;
    Fuzz::check(packet.getText(key, text) && text == value);
    Fuzz::check(packet.getUnsigned(key, number) || number == 0);
    Fuzz::check(bytes.find(key + '=' + value) != std::string::npos && key.find('=') == std::string::npos);
  }

  const Com::TaggedPacket copy = packet;
  Fuzz::check(copy.document == packet.document);
  return 0;
}
