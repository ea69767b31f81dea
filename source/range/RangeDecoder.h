#pragma once

#include <bitset>

#include "range/RangePacket.h"
#include "range/RangeState.h"
#include "range/RangeTimeState.h"

namespace Kvex::Rng {

/// Decodes the packets of a range unit, in two passes or more: the first pass finds the stream's time, and each walk
/// after a `reset` decodes from the first packet on. Packets that cannot be used are ignored.
class RangeDecoder {
 public:
  enum class Feed : std::uint8_t {
    Dropped = 0,
    Taken = 1,
    PassDone = 2,  ///< Taken, and the first pass needs no more packets.
  };

  RangeDecoder() = default;
  // A record is too large to be copied by accident.
  RangeDecoder(const RangeDecoder&) = delete;
  RangeDecoder& operator=(const RangeDecoder&) = delete;

  /// A whole packet that the reader of a range file has found.
  Feed feedRaw(ByteView packet);
  /// A packet of a recording: eight bytes that are not read, and then the frame, which is checked.
  Feed feedRecorded(ByteView packet);

  /// Decodes one whole packet into the record.
  void decodePacket(ByteView packet);

  /// Back to the start of a walk, with what the first pass found in the record. Ends the first pass.
  void reset();

  /// What the next packets are decoded for. Takes a settled tree.
  void setWants(const RangeWantTree& wants);

  const RangeRecord& record() const { return state_.record; }
  RangeRecord& record() { return state_.record; }
  const RangeTimeState& clock() const { return clock_; }

 private:
  void decodeShort(const PacketHead& head, ByteView packet);
  void decodeLane(const PacketHead& head, ByteView packet);
  void decodeLong(const PacketHead& head, ByteView packet);
  void takeTime(const PacketHead& head, ByteView packet);
  void writeTimeSignals(bool forced);

  RangeState state_;
  RangeTimeState clock_;
  std::bitset<16> marked_;  ///< Pairs of type and target whose unwanted groups have been marked.
};

}  // namespace Kvex::Rng
