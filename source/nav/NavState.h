#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "nav/ChannelState.h"
#include "nav/DerivedState.h"
#include "nav/NavProtocol.h"
#include "nav/NavRecord.h"
#include "nav/NavWantTree.h"
#include "nav/TimeState.h"

namespace Kvex::Nav {

/// Marks fields as not available now. Their values stay.
template <class... T>
void markNotAvailable(NavField<T>&... fields) {
  ((fields.flags |= Lib::Flag::kNotAvailable), ...);
}

/// Everything that a navigation decoder knows: what its decoding steps read and write.
struct NavState {
  NavState(const NavProtocol& packetProtocol, bool scanFirst) : protocol(packetProtocol), time(scanFirst) {}

  const NavProtocol& protocol;
  NavRecord record;
  NavWantTree wants;
  TimeState time;
  ChannelState channels;
  DerivedState derived;

  /// Sets a field outside the blocks: it bears the time of the packet, and no mark but that of a time never known.
  template <class T>
  void setField(NavField<T>& field, std::type_identity_t<T> value) {
    write(field, value, record.Nano);
  }

  /// Sets a field of a `ReceiverBlock` or `MeasPointBlock`.
  template <class T>
  void setBlockField(NavField<T>& field, std::type_identity_t<T> value) {
    write(field, value, record.BlockNano);
  }

  /// Sets a text, cut to the field's size. It bears the time of the packet only where that is known.
  template <std::size_t Size>
  void setText(TextField<Size>& field, std::string_view text) {
    const bool timed = record.Nano.flags < Lib::Flag::kNoValue;
    if (timed) field.stamp = record.Nano.value;
    field.flags = timed ? 0 : Lib::Flag::kUntimed;
    field.written = true;
    field.value.fill('\0');
    std::copy_n(text.begin(), std::min(text.size(), Size - 1), field.value.begin());
  }

  /// Sets the time of the packet.
  void setTime(Lib::Nano nanoseconds) {
    record.Nano.write(nanoseconds, nanoseconds);
    record.NanoLocal.stamp = nanoseconds;
    setField(record.NanoSeconds, static_cast<double>(nanoseconds) / 1e9);
  }

 private:
  template <class T>
  static void write(NavField<T>& field, T value, const NavField<std::int64_t>& packetTime) {
    field.write(value, packetTime.stamp, packetTime.flags & Lib::Flag::kUntimed);
  }
};

}  // namespace Kvex::Nav
