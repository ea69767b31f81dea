#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>

#include "library/NavField.h"

namespace Kvex::Nav {

/// What status channels remember from packet to packet beside the record. A reset decoder holds a constructed one.
struct ChannelState {
  static constexpr std::size_t kChannelCount = 95;

  /// The trigger events, each with its own channel.
  static constexpr std::size_t kEventCount = 6;

  std::array<std::uint8_t, kEventCount> eventNumbers{};  ///< Running number of the last event of each channel.
  std::optional<Lib::Nano> newEvent;                     ///< Time of the event that the present packet reports.

  /// The reference frame as the unit sends it whole, in two halves: degrees and metres.
  struct {
    std::optional<double> lat;
    std::optional<double> lon;
    std::optional<double> alt;
    std::optional<double> heading;

    bool complete() const { return lat && lon && alt && heading; }
  } frame;

  /// The wheel count that the next one is held against.
  struct WheelCount {
    Lib::Nano time;
    double count;
  };
  std::optional<WheelCount> wheel;

  /// No innovation expires up to this time.
  Lib::Nano nextExpiry = Lib::kNoTime;

  /// Channels whose fields nobody wants and which have marked them so: one mark lasts, where nothing is written.
  /// Holds for as long as the wants stand.
  std::bitset<kChannelCount> idle;
};

}  // namespace Kvex::Nav
