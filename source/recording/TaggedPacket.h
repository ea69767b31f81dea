#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex::Com {

/// A packet that opens with a bracketed tag, for instance "[Kvex-Quon]", and has a body in the form that the bracket
/// calls for: the text form of primary packets, header packets and the tags that the program makes itself.
class TaggedPacket {
 public:
  /// By the first byte of the tag.
  enum class Kind : std::uint8_t {
    Primary = 1,   ///< "[...]": key-value body.
    Angle = 2,     ///< "<...>": raw body.
    Round = 3,     ///< "(...)": raw body.
    KeyValue = 4,  ///< "{...}": key-value body.
    Json = 5,      ///< "/.../": JSON body.
    Bar = 6,       ///< "|...|": no body form; parsing the body fails.
    Invalid = 7,   ///< No valid tag.
  };

  /// A JSON body that nests deeper does not parse: to copy a JSON value takes stack for each level.
  static constexpr int kMaxJsonDepth = 256;

  TaggedPacket() = default;
  /// Takes the bytes of a packet and parses tag and body.
  explicit TaggedPacket(std::string bytes);

  /// Takes the tag off the front of `data`. The first closing bracket of any kind ends the tag and must be the one that
  /// fits; else the packet is invalid and `data` stays.
  bool parseTag();
  /// Reads the body by `kind`. False where the kind has no body form or a JSON body does not parse, which leaves
  /// `document` null.
  bool parseBody();

  /// The value of a key; an empty text and false without it.
  bool getText(std::string_view key, std::string& out) const;
  /// The value of a key as a decimal number; 0 and false where there is none or it is beyond 32 bits.
  bool getUnsigned(std::string_view key, std::uint32_t& out) const;
  /// Sets the value of a key, replacing what was there.
  void setText(std::string_view key, std::string_view value);
  template <std::integral Number>
  void setNumber(std::string_view key, Number value) {
    setText(key, std::to_string(value));
  }

  char open = '?';   ///< First byte of the tag; "?" until parsed.
  char close = '?';  ///< Closing byte of the tag; "?" until parsed.
  std::string data;  ///< The packet; after a successful tag parse the body without the tag.
  std::string tag;   ///< Both brackets included.
  std::map<std::string, std::string, std::less<>> values;  ///< Body of a key-value packet.
  nlohmann::json document;                                 ///< Body of a JSON packet.
  Kind kind = Kind::Invalid;

 private:
  void parseKeyValues();
};

/// A primary packet with the list of further tagged packets that go with it.
struct TaggedHeader {
  TaggedPacket primary;
  std::vector<TaggedPacket> headers;

  /// Appends to the list, and sets the primary packet's key "headers" to the list's new length.
  void addHeader(TaggedPacket packet);
  /// The first packet of the list with exactly this tag, or none.
  const TaggedPacket* findHeader(std::string_view tag) const;
  TaggedPacket* findHeader(std::string_view tag);
};

}  // namespace Kvex::Com
