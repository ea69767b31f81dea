#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "library/ByteView.h"
#include "nav/NavState.h"
#include "tables/SignalTable.h"

namespace Kvex::Nav {

/// What feeding a packet came to.
enum class FeedResult : std::uint8_t {
  Nothing = 0,    ///< Nothing was decoded.
  Decoded = 1,    ///< A packet was decoded.
  ScanEnded = 2,  ///< A packet was decoded, and with it the first pass has ended.
};

/// Decodes the packets of one navigation stream into a record, and keeps the stream's time. Bad data is no error: what
/// a packet does not hold stays marked as not available. `QuonDecoder` and `DaskDecoder` are its two forms.
///
/// A stream is read more than once. The first pass finds the time references and the first known values and writes
/// nothing but `Index`; later passes, each begun with `finishScan`, give a time to packets ahead of the first timed one
/// by counting back from it.
class NavDecoder : public NavState {
 public:
  NavDecoder(const NavDecoder&) = delete;
  NavDecoder& operator=(const NavDecoder&) = delete;

  /// Decodes one packet of exactly the protocol's size. `check`: only if it is a good one.
  FeedResult feedPacket(Lib::ByteView packet, bool check);
  /// Decodes the packet that stands behind eight bytes of a record. Bytes behind the packet are not looked at.
  FeedResult feedStamped(Lib::ByteView record, bool check);
  /// Whether the bytes begin with a good packet: length, sync byte and checksum.
  bool isGoodPacket(Lib::ByteView bytes) const;

  /// A number for what a packet brings: its channel, and what kind of packet it is.
  std::uint64_t kindOf(Lib::ByteView packet) const;

  /// Begins a new pass, which ends the first one if that still runs. `fill` lays the first known values into the record
  /// as a starting point, each marked as provisional.
  void finishScan(bool fill);
  /// Empties record, filters and clock. `full`: also what the first pass has found.
  void resetDecoder(bool full);

  /// The status channel that packets have reported since this was set to `SignalRow::kNoMessage`; `kAnyMessage` for
  /// several.
  std::int32_t reportedChannel = Sto::SignalRow::kNoMessage;

  // Flags of `wants` may be set directly too; `settleWants` must follow.

  void wantAll(bool on);
  /// Wants more with a rising level: nothing below 1, everything from 10 on.
  void setWantLevel(int level);
  /// Wants what the wanted values are worked out from, and takes the new wants into use.
  void settleWants();

 protected:
  /// Wants everything. `scanFirst`: begin with a first pass.
  NavDecoder(const NavProtocol& packetProtocol, bool scanFirst);

 private:
  FeedResult decodePacket(Lib::ByteView packet);
  void firstPassPacket(Lib::ByteView packet);
  void walkPacket(Lib::ByteView packet);
  void regularPacket(Lib::ByteView packet);
  void triggerPacket(Lib::ByteView packet);
  void statusPacket(Lib::ByteView packet);
  void textPacket(Lib::ByteView packet);

  void markPacketFields();
  std::optional<Lib::Nano> regularTime(Lib::ByteView packet);
  void decodeMotion(Lib::ByteView packet, bool trigger);
  void decodeInertial(Lib::ByteView packet);
  void setScaled(NavField<double>& field, std::int32_t raw, double scale);
  void decodeNavigation(Lib::ByteView packet);
  void decodePacketStatus(Lib::ByteView packet, bool trigger);
  void decodeHeave(Lib::ByteView packet);
  void deriveTimeSignals();
  void updateRegularRate();
  void updateIndex();
  std::optional<Lib::Nano> decodePacketChannel(Lib::ByteView packet);
  void fillFromScan();

  const bool scanFirst_;
  double sortIndex_ = 1.0;                       ///< The largest `Index` given so far.
  Lib::Nano rateStart_ = -1;                     ///< Since when `OutputRegularRate` counts packets.
  std::int64_t rateCount_ = -1;                  ///< Packets counted; -1 while not counting.
  bool markAllFields_ = true;                    ///< The next marking goes over the whole record.
  std::vector<std::uint8_t*> packetFlags_;       ///< Flags of packet fields that the present wants can write.
  std::vector<std::uint8_t*> otherPacketFlags_;  ///< Flags of all other packet fields.
};

}  // namespace Kvex::Nav
