#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string_view>
#include <vector>

#include "library/NavField.h"
#include "nav/NavProtocol.h"

namespace Kvex::Synth {

using NavTriple = std::array<double, 3>;

/// The eight bytes of a status channel.
class ChannelBytes {
 public:
  /// Sets `size` bytes from `offset` on to the low bytes of a value, the lowest first.
  ChannelBytes& put(std::size_t offset, std::uint64_t value, std::size_t size);
  ChannelBytes& putByte(std::size_t offset, std::uint8_t value) { return put(offset, value, 1); }
  ChannelBytes& putWord(std::size_t offset, std::uint16_t value) { return put(offset, value, 2); }
  ChannelBytes& putFloat(std::size_t offset, float value);
  ChannelBytes& putText(std::string_view text);

  const std::array<std::uint8_t, 8>& bytes() const { return bytes_; }

 private:
  std::array<std::uint8_t, 8> bytes_{};
};

/// The status channel that has the GPS minute of the packet.
ChannelBytes minuteChannel(Lib::Nano time);

/// One packet of a navigation protocol. All bytes but the sync byte are zero at first, and the mode is 4, real-time.
/// Vectors are given in the units of the signals, and cut to the range of their raw form.
class NavPacket {
 public:
  explicit NavPacket(const Nav::NavProtocol& protocol);

  /// The millisecond word from a GPS time.
  NavPacket& time(Lib::Nano time);
  NavPacket& mode(std::uint8_t insNavMode) { return put(21, insNavMode, 1); }
  NavPacket& acceleration(const NavTriple& metresPerSecond2) { return putTriple(3, metresPerSecond2, 1e4); }
  NavPacket& angularRate(const NavTriple& degreesPerSecond);
  NavPacket& position(double latDegrees, double lonDegrees, float alt);
  NavPacket& velocity(const NavTriple& northEastDown) { return putTriple(43, northEastDown, 1e4); }
  NavPacket& attitude(const NavTriple& headingPitchRollDegrees);
  NavPacket& channel(std::uint8_t number, const ChannelBytes& bytes);
  /// Makes it a packet with the product's name in place of motion.
  NavPacket& productText(std::string_view text);
  /// Raw bytes at an offset from the sync byte.
  NavPacket& put(std::size_t offset, std::uint64_t value, std::size_t size);

  /// The whole packet with its checksum.
  std::span<const std::uint8_t> bytes();

 private:
  NavPacket& putTriple(std::size_t offset, const NavTriple& values, double rawPerUnit);

  const Nav::NavProtocol& protocol_;
  std::vector<std::uint8_t> bytes_;
};

/// The address and provenance ahead of the packets of a block, as a range file wraps them.
std::array<std::uint8_t, 5> blockSource(std::uint32_t address, std::uint8_t provenance);

/// The stream of a unit in a vehicle that drives in curves: it starts without time, finds its position, initialises,
/// and reports all status channels in turn. In between come trigger packets. The same seed gives the same packets.
class NavDrive {
 public:
  static constexpr Lib::Nano kPeriod = 10'000'000;  ///< From one regular packet to the next.

  /// `start` is the time of the first packet, a whole millisecond.
  NavDrive(const Nav::NavProtocol& protocol, std::uint64_t seed, Lib::Nano start);

  /// The next packet, valid until the next call.
  std::span<const std::uint8_t> next();
  /// Time of the packet that `next` gave last, trigger packets at the time of their event.
  Lib::Nano time() const { return time_; }

 private:
  std::span<const std::uint8_t> trigger();
  void move();
  void putMotion(NavPacket& packet);
  std::uint8_t nextChannel();
  ChannelBytes channelBytes(std::uint8_t channel);
  /// A number from 0 to below `count`.
  std::uint32_t random(std::uint32_t count) { return static_cast<std::uint32_t>(random_() % count); }

  const Nav::NavProtocol& protocol_;
  std::mt19937_64 random_;
  NavPacket packet_;
  Lib::Nano start_;
  Lib::Nano time_;
  std::uint32_t periods_ = 0;
  std::uint32_t untilTrigger_ = 137;
  std::uint8_t events_ = 0;
  std::uint8_t channel_ = 0;
  double speed_ = 0;    ///< m/s
  double heading_;      ///< degrees
  double yawRate_ = 0;  ///< degrees per second
  double lat_;          ///< degrees
  double lon_;
};

}  // namespace Kvex::Synth
