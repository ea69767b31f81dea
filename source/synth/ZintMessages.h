#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Kvex::Synth {

/// A signal entry of a definition document. What is not set is left out of the document, so that the reader's default
/// or a parent's key applies.
struct ZintSignal {
  std::uint64_t id = 0;
  std::optional<std::string> name;
  std::optional<std::string> unit;
  std::optional<std::uint32_t> bitOffset;  ///< From the first payload bit on.
  std::optional<std::uint32_t> bitSize;
  std::optional<std::string> base;    ///< How the bits are stored: "B" bool, "R" real, "S" signed, "U" unsigned.
  std::optional<std::string> mapped;  ///< Type of the value shown: "B", "R32", "R64", "S8" to "S64", "U8" to "U64".
  std::optional<double> scale;        ///< The value is raw times `scale` plus `offset`. Whole numbers stand in the
  std::optional<double> offset;       ///< document without a fraction, as integer signals need them.
  std::optional<double> low;          ///< Range shown, of no effect on values.
  std::optional<double> high;
  std::optional<std::string> comment;
  std::optional<std::uint64_t> parent;  ///< Id of the entry that gives the keys that this one lacks.
};

/// A message entry of a definition document.
struct ZintMessage {
  std::uint64_t id = 0;
  std::optional<std::string> name;
  std::vector<std::uint64_t> signals;  ///< Ids of the signals carried.
  std::optional<std::string> comment;
  std::optional<std::uint64_t> parent;
};

/// What a self-describing stream says about its messages and signals.
struct ZintDefinition {
  std::vector<ZintMessage> messages;
  std::vector<ZintSignal> signals;

  nlohmann::json document() const;
  /// The header packet with the document as its body.
  std::string headerPacket() const;

  /// The first entry with this id or name. Throws `std::out_of_range` where there is none.
  const ZintMessage& message(std::uint64_t id) const;
  const ZintSignal& signal(std::uint64_t id) const;
  const ZintSignal& signal(std::string_view name) const;
};

/// One data packet: a 16-bit message id and bit fields, lowest bit first across rising bytes.
class ZintPacket {
 public:
  ZintPacket(std::uint16_t messageId, std::size_t payloadBytes);
  /// With room for all signals of the message that give their offset and size.
  ZintPacket(const ZintDefinition& definition, std::uint64_t messageId);

  /// Sets the low `bitSize` bits of `bits`, 64 at the most; bits beyond the payload are dropped.
  void setBits(std::uint32_t bitOffset, std::uint32_t bitSize, std::uint64_t bits);

  /// Sets a signal's raw value, before scale and offset. A real value goes in as the bits of a float or a double, by
  /// the signal's size; any other is cut to the signal's size. REQUIRES: the signal gives its offset and size.
  template <class Raw>
  void set(const ZintSignal& signal, Raw raw) {
    if constexpr (std::is_floating_point_v<Raw>) {
      setReal(signal, raw);
    } else {
      setBits(*signal.bitOffset, *signal.bitSize, static_cast<std::uint64_t>(raw));
    }
  }

  std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  void setReal(const ZintSignal& signal, double raw);

  std::vector<std::uint8_t> bytes_;
};

}  // namespace Kvex::Synth
