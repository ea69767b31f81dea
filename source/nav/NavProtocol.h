#pragma once

#include <cstddef>
#include <cstdint>

namespace Kvex::Nav {

/// A set of navigation protocols.
enum class Protocols : std::uint8_t { Quon = 1, Dask = 2, Both = 3 };

constexpr bool contains(Protocols set, Protocols protocol) {
  return (static_cast<std::uint8_t>(set) & static_cast<std::uint8_t>(protocol)) != 0;
}

/// How the packets of one navigation protocol differ from those of its sister. All else is the same in both.
struct NavProtocol {
  Protocols self;             ///< Which of the two this is.
  std::uint8_t sync;          ///< First byte of a packet.
  std::size_t packetSize;     ///< Bytes, with sync byte and checksum.
  std::size_t channelOffset;  ///< Where the channel number stands; its eight bytes follow, and then the checksum.
  std::int32_t rxVersionId;   ///< What `RxVersionId` starts with.
  bool hasHeave;              ///< Heave, packet counter and status bits stand in the packet.
  bool hasJerk;               ///< Jerk and everything made of it is worked out.
  bool scansImu2Veh;          ///< The first pass looks for the `Imu2Veh` angles.
  bool textRenewsIdentity;    ///< A packet with the product text renews the product identity at once.
};

inline constexpr NavProtocol kQuonProtocol{.self = Protocols::Quon,
                                           .sync = 0xE7,
                                           .packetSize = 72,
                                           .channelOffset = 62,
                                           .rxVersionId = 22,
                                           .hasHeave = false,
                                           .hasJerk = true,
                                           .scansImu2Veh = true,
                                           .textRenewsIdentity = true};

inline constexpr NavProtocol kDaskProtocol{.self = Protocols::Dask,
                                           .sync = 0xE8,
                                           .packetSize = 84,
                                           .channelOffset = 74,
                                           .rxVersionId = 21,
                                           .hasHeave = true,
                                           .hasJerk = false,
                                           .scansImu2Veh = false,
                                           .textRenewsIdentity = false};

}  // namespace Kvex::Nav
