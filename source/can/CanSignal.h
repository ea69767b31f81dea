#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "can/CanNumber.h"
#include "library/ValueType.h"

namespace Kvex::Can {

/// What a signal has to do with its message's multiplexer.
enum class MuxKind : std::uint8_t { Plain = 1, Switch = 2, Multiplexed = 3 };

/// Raw values of a multiplexer, both ends counted in.
struct MuxRange {
  std::uint64_t first = 0;
  std::uint64_t last = 0;

  bool operator==(const MuxRange&) const = default;
};

/// One signal of a database, as its line has it. The texts are bytes of the database, in whatever encoding it has.
struct CanSignal {
  static constexpr std::uint32_t kNoSwitch = UINT32_MAX;

  std::uint32_t messageIndex = 0;                   ///< Its message's place in the database.
  std::uint32_t index = 0;                          ///< Its own place in the database.
  Lib::ValueType valueType = Lib::ValueType::None;  ///< Double, UInt64 or Int64.
  std::string_view name;
  std::uint32_t repeat = 0;  ///< How many earlier signals of the database have this name.
  MuxKind muxKind = MuxKind::Plain;
  std::int32_t muxValue = 0;
  bool isSwitch = false;  ///< It has the mark of a multiplexer, which a multiplexed signal can have too.
  /// The place in the database of the multiplexer that selects this signal; none for a signal that stands in every
  /// frame, and for a multiplexed one whose message has no multiplexer.
  std::uint32_t muxSwitch = kNoSwitch;
  std::vector<MuxRange> muxRanges;  ///< Its values that select the signal: apart, and rising.
  std::int32_t startBit = 0;        ///< 0 to 511, as the line has it.
  std::int32_t bitLength = 0;       ///< 0 to 512; the value holds the low 64 bits.
  bool littleEndian = true;
  bool isSigned = true;
  CanNumber factor;
  CanNumber offset;
  CanNumber minimum;
  CanNumber maximum;
  std::string_view unit;
  std::string_view receivers = "Vector__XXX";
  std::string_view comment;

  /// Place of the lowest bit: in the frame's bytes for little-endian signals, in the 64 frame bytes taken in reverse
  /// order for big-endian ones. There, too, a bit's place rises with its weight.
  std::int32_t lowBit = 0;
  std::int32_t highBit = 0;

  /// The name, made unique in its database: N, N.1, N.2 and so on.
  std::string label() const;
};

}  // namespace Kvex::Can
