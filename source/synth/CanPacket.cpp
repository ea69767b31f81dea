#include "synth/CanPacket.h"

#include <algorithm>

#include "can/CanFrame.h"

namespace Kvex::Synth {

void CanPacket::restart(Lib::Nano time) {
  bytes_.clear();
  putNumber(static_cast<std::uint64_t>(time), Can::kPacketTimeSize);
}

void CanPacket::addFrame(std::uint32_t id, std::span<const std::uint8_t> data, std::uint8_t flags,
                         std::uint32_t number) {
  const auto code = std::ranges::lower_bound(Can::kFrameLengths, data.size()) - Can::kFrameLengths.begin();
  addCodedFrame(id, static_cast<std::uint8_t>(code), data, flags, number);
}

void CanPacket::addCodedFrame(std::uint32_t id, std::uint8_t lengthCode, std::span<const std::uint8_t> data,
                              std::uint8_t flags, std::uint32_t number) {
  bytes_.push_back(static_cast<std::uint8_t>(lengthCode << 4 | (flags & 0xF)));
  putNumber(number, 3);
  putNumber(id, 4);
  const std::size_t length = Can::kFrameLengths[lengthCode & 0xF];
  const auto taken = data.first(std::min(data.size(), length));
  bytes_.insert(bytes_.end(), taken.begin(), taken.end());
  bytes_.resize(bytes_.size() + Can::paddedLength(length) - taken.size());
}

bool CanPacket::empty() const {
  return bytes_.size() == Can::kPacketTimeSize;
}

void CanPacket::putNumber(std::uint64_t number, std::size_t size) {
  for (std::size_t index = 0; index < size; ++index) bytes_.push_back(static_cast<std::uint8_t>(number >> 8 * index));
}

}  // namespace Kvex::Synth
