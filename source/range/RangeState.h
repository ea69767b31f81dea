#pragma once

#include <array>
#include <type_traits>

#include "range/RangeRecord.h"
#include "range/RangeWantTree.h"

namespace Kvex::Rng {

/// Bits of flags that a value is written with when the raw value stood at an end of its range.
inline constexpr std::uint8_t kSaturationBits = 0x0F;

/// What decoding a packet and working out the derived quantities share: the newest values, what is wanted of them, and
/// how a field is written.
struct RangeState {
  RangeRecord record;
  RangeWantTree wants;

  /// Whether the groups that nobody wants are to be marked too. The first packet of a kind and target of a walk does
  /// it; from then on such a group cannot change, and a packet passes it by.
  bool markUnwanted = true;

  /// Writes a field: value, stamp from the packet's time, flags 0. In a packet without time the stamp stays and the
  /// flags are 16.
  template <class T>
  void write(NavField<T>& field, std::type_identity_t<T> value) const {
    const NavField<std::int64_t>& now = record.body.Nano;
    field.value = value;
    field.written = true;
    if (now.hasValue()) {
      field.flags = 0;
      field.stamp = now.value;
    } else {
      field.flags = Lib::Flag::kUntimed;
    }
  }

  /// Opens the fields of one step, or of one group of a packet. Wanted: their flags are cleared, and it
  /// returns true: the caller goes on. Not wanted: they are marked as never written where that is still to be done.
  template <class... Fields>
  bool open(bool wanted, Fields&... fields) const {
    if (!wanted && !markUnwanted) return false;
    (mark(fields, wanted ? std::uint8_t{0} : Lib::Flag::kNeverWritten), ...);
    return wanted;
  }

  /// Sets the flags of a field, or of all entries of a list.
  template <class T>
  static void mark(NavField<T>& field, std::uint8_t flags) {
    field.flags = flags;
  }
  template <class T, std::size_t Count>
  static void mark(std::array<NavField<T>, Count>& fields, std::uint8_t flags) {
    for (NavField<T>& field : fields) field.flags = flags;
  }
};

}  // namespace Kvex::Rng
