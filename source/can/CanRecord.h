#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "library/NavField.h"

namespace Kvex::Can {

using Lib::Nano;
using Lib::NavField;

/// The newest value of one signal of a database, in the signal's value type.
using CanField = std::variant<NavField<double>, NavField<std::uint64_t>, NavField<std::int64_t>>;

/// The time of the newest packet in several forms.
struct CanTimes {
  NavField<Nano> nano;            ///< From GPS time zero.
  NavField<Nano> nanoFromOrigin;  ///< From the whole second at or before the first packet.
  NavField<Nano> nanoFromStart;   ///< From the first packet.
  NavField<Nano> nanoFromFirst;   ///< From the first packet with an absolute time.
  NavField<std::uint32_t> weekCount;
  NavField<double> weekSecond;

  /// No time known: what is counted from it is not available.
  void reset() {
    nano.reset();
    const auto withhold = [](auto&... fields) { ((fields = {.flags = Lib::Flag::kNotAvailable}), ...); };
    withhold(nanoFromOrigin, nanoFromStart, nanoFromFirst, weekCount, weekSecond);
  }
};

/// The newest values of a CAN stream.
struct CanRecord {
  CanTimes times;
  std::vector<CanField> signals;  ///< In database order.

  const NavField<Nano>& time() const { return times.nano; }

  void reset() {
    times.reset();
    for (CanField& field : signals) {
      std::visit([](auto& typed) { typed.reset(); }, field);
    }
  }
};

}  // namespace Kvex::Can
