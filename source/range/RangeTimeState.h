#pragma once

#include <bitset>
#include <cstdint>
#include <optional>

#include "library/NavField.h"
#include "range/RangePacket.h"

namespace Kvex::Rng {

using Lib::Nano;

/// The three times that a stream's times are told from.
struct TimeReferences {
  Nano origin = Lib::kNoTime;  ///< `start` rounded down to a whole second.
  Nano start = Lib::kNoTime;   ///< Time of the very first packet, counted back from `first`.
  Nano first = Lib::kNoTime;   ///< Time of the first packet with a time of its own.

  bool known() const { return first != Lib::kNoTime; }
  void set(Nano time, Nano back);
};

/// The clock of a range stream.
///
/// A packet holds the milliseconds into the GPS minute; the count of minutes comes on a channel every so often. Several
/// packets of one instant follow one another, one per target and kind, so that cycles are counted, not packets: a cycle
/// ends when a pair of type and target comes again. Packets ahead of the first timed one get times counted back from
/// it, 10 ms per cycle.
class RangeTimeState {
 public:
  enum class Mode : std::uint8_t {
    Searching = 0,   ///< No first pass has found a time: the walk looks for its first one.
    Running = 1,     ///< Packets time themselves; the references came from this walk.
    FirstPass = 2,   ///< The first pass runs.
    BackFill = 3,    ///< Packets ahead of the first timed one are given times.
    Referenced = 4,  ///< Packets time themselves; the references came from the first pass.
  };

  /// What the first pass found.
  struct ScanResult {
    TimeReferences references;
    std::int32_t firstMilliseconds = -1;
    std::int32_t firstMinute = -1;
    std::optional<std::int32_t> utcOffset;
  };

  static constexpr Nano kCyclePeriod = 10'000'000;
  static constexpr std::uint16_t kNoMilliseconds = 65535;

  /// First pass: takes the clock's part of a packet. True once nothing more is needed, which ends the pass.
  bool scan(const PacketHead& head, ByteView packet);
  bool scanning() const { return mode_ == Mode::FirstPass; }

  /// Time of a timed packet of a walk; none while it cannot be told.
  std::optional<Nano> timeOf(const PacketHead& head, ByteView packet);

  /// Back to the start of a walk. Ends the first pass, if it still runs.
  void reset();

  /// The minute channel: GPS minutes since GPS time zero; below 0 for none.
  void setMinute(std::int32_t minute) { minute_ = minute == INT32_MIN ? -1 : minute; }

  const TimeReferences& references() const { return references_; }
  const ScanResult& scanResult() const { return scan_; }
  Mode mode() const { return mode_; }

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
  /// Advances the clock by a packet's millisecond word. None without a word or before the minute is known.
  std::optional<Nano> advance(std::uint16_t milliseconds);
  Nano backFill(std::size_t pair);

  TimeReferences references_;
  Mode mode_ = Mode::FirstPass;
  Counter cycles_;
  Counter packets_;
  std::bitset<16> seen_ =
      ~std::bitset<16>{};  ///< Pairs of this cycle. All set at first: the first packet opens a cycle.
  ScanResult scan_;
  std::int32_t milliseconds_ = -1;  ///< Of the last packet that had them.
  std::int32_t minute_ = -1;        ///< GPS minutes since GPS time zero, below 0 until known.
};

}  // namespace Kvex::Rng
