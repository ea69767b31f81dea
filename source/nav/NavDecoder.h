#pragma once

// Work in progress, who writes what in this folder:
//   ChannelState.h, StatusChannels.h/.cpp                 nav-channels (both protocols)
//   DerivedState.h, Derived.h/.cpp, filters, identity     nav-derived
//   all else: record, wants, time, order of work, streams nav
// The entry points are declared in StatusChannels.h and Derived.h; the shared state is NavState.h. The owner of a file
// may change it, but keeps the entry points or tells the others.

#include <cstdint>
#include <vector>

#include "library/ByteView.h"
#include "nav/NavState.h"

namespace Kvex::Nav {

/// What feeding a packet came to.
enum class FeedResult : std::uint8_t {
  Nothing = 0,    ///< Nothing was decoded.
  Decoded = 1,    ///< A packet was decoded.
  ScanEnded = 2,  ///< A packet was decoded, and with it the first pass has ended.
};

/// Decodes the packets of one navigation stream into a record, and keeps the stream's time. Bad data is no error: what
/// a packet does not tell stays marked as not available. `QuonDecoder` and `DaskDecoder` are its two forms.
///
/// A stream is read twice. The first pass finds the time references and the first known values; later passes, each
/// begun with `finishScan`, give a time to packets ahead of the first timed one by counting back from it.
class NavDecoder : public NavState {
 public:
  /// `scanFirst`: begin with a first pass.
  NavDecoder(const NavProtocol& packetProtocol, bool scanFirst);
  NavDecoder(const NavDecoder&) = delete;
  NavDecoder& operator=(const NavDecoder&) = delete;

  /// Decodes a packet: exactly one, where nobody has looked at sync byte and checksum with `check`.
  FeedResult feedPacket(Lib::ByteView packet, bool check);
  /// Decodes a packet behind eight bytes that are passed over.
  FeedResult feedStamped(Lib::ByteView record, bool check);
  /// Whether the bytes begin with a good packet: length, sync byte and checksum.
  bool isGoodPacket(Lib::ByteView bytes) const;

  /// Ends a first pass and begins a new pass over the stream. `fill` lays the first known values into the record as a
  /// starting point, each marked as provisional.
  void finishScan(bool fill);
  /// Back to the state of a constructed decoder, wants apart; without `full` the time state keeps what the first pass
  /// has found.
  void resetDecoder(bool full);

  // Change `wants` through these, or call `settleWants` afterwards.
  void wantAll(bool on);
  void settleWants();
  void setWantLevel(int level);
};

}  // namespace Kvex::Nav
