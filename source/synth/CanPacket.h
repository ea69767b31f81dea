#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "library/NavField.h"

namespace Kvex::Synth {

/// One data packet of a recorded CAN bus: a time in nanoseconds and any number of frames.
class CanPacket {
 public:
  explicit CanPacket(Lib::Nano time) { restart(time); }

  /// Empties the packet for another time; its memory is kept.
  void restart(Lib::Nano time);

  /// Adds a frame. The length code is the smallest one that holds the data, which is padded with zeros to that length
  /// and to 8 bytes. `flags` are the low four bits of the frame's first byte, `number` its 24-bit number.
  /// REQUIRES: at most 64 bytes of data.
  void addFrame(std::uint32_t id, std::span<const std::uint8_t> data, std::uint8_t flags = 0, std::uint32_t number = 0);

  /// Adds a frame of this length code; the data is cut or padded with zeros to its length and to 8 bytes.
  void addCodedFrame(std::uint32_t id, std::uint8_t lengthCode, std::span<const std::uint8_t> data,
                     std::uint8_t flags = 0, std::uint32_t number = 0);

  /// Whether the packet has no frame.
  bool empty() const;
  std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  void putNumber(std::uint64_t number, std::size_t size);

  std::vector<std::uint8_t> bytes_;
};

}  // namespace Kvex::Synth
