#pragma once

#include <bitset>
#include <cstdint>
#include <optional>

#include "nav/StreamClock.h"
#include "range/RangePacket.h"

namespace Kvex::Rng {

using Lib::Nano;
using Nav::TimeMode;
using Nav::TimeReferences;

/// The time keeping of a range stream.
///
/// Several packets of one instant follow one another, one per target and kind, so that cycles are counted, not packets:
/// a cycle ends when a pair of type and target comes again. Packets ahead of the first timed one get times counted back
/// from it, 10 ms per cycle.
class RangeTimeState {
 public:
  /// What the first pass found.
  struct ScanResult {
    TimeReferences references;
    Nav::UnitClock firstClock;  ///< The clock at the first timed packet.
    std::optional<std::int32_t> utcOffset;
  };

  static constexpr Nano kCyclePeriod = 10'000'000;

  /// First pass: takes the clock's part of a packet. True once nothing more is needed, which ends the pass.
  bool scan(const PacketHead& head, ByteView packet);
  bool scanning() const { return mode_ == TimeMode::FirstPass; }

  /// Time of a timed packet of a walk; none while it is not known.
  std::optional<Nano> timeOf(const PacketHead& head, ByteView packet);

  /// Back to the start of a walk. Ends the first pass, if it still runs.
  void reset();

  /// The minute channel: GPS minutes since GPS time zero; below 0 for none.
  void setMinute(std::int32_t minute) { clock_.minute = minute; }

  const TimeReferences& references() const { return references_; }
  const ScanResult& scanResult() const { return scan_; }
  TimeMode mode() const { return mode_; }

 private:
  /// Packets or cycles: the number counted so far, the one before the newest packet, and what the first pass ended
  /// with.
  struct Counter {
    std::int64_t previous = 0;
    std::int64_t count = 0;
    std::int64_t scanned = 0;

    void takeBack() { count = scanned = previous; }
  };

  /// Whether the pair has come before in this cycle; if so, a new cycle begins with it.
  bool beginsCycle(std::size_t pair);
  void countPacket(std::size_t pair);
  /// The newest packet has a time after all.
  void uncountPacket();
  Nano countedBack() const;
  Nano backFill(std::size_t pair);

  TimeReferences references_;
  TimeMode mode_ = TimeMode::FirstPass;
  Counter cycles_;
  Counter packets_;
  std::bitset<16> seen_ =
      ~std::bitset<16>{};  ///< Pairs of this cycle. All set at first: the first packet opens a cycle.
  ScanResult scan_;
  Nav::UnitClock clock_;
};

}  // namespace Kvex::Rng
