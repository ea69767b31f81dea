#include "store/ProgressRing.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Kvex::Sto {

ProgressSource::ProgressSource(std::uint32_t sizeBits)
    : buffer_(std::size_t{1} << std::min(sizeBits, 30U)), mask_(static_cast<std::uint32_t>(buffer_.size() - 1)) {}

bool ProgressRing::report(std::int32_t resource, Phase phase, double percent) {
  if (resource == lastResource_ && phase == lastPhase_ && percent == lastPercent_) return true;
  lastResource_ = resource;
  lastPhase_ = phase;
  lastPercent_ = percent;

  const Phase shownPhase = phase > Phase::Last ? Phase::None : phase;
  const std::uint32_t written = writeCount_.load(std::memory_order_relaxed);
  if (buffer_.size() - (written - readCount_.load(std::memory_order_acquire)) < kRecordSize) return false;
  const auto shown = static_cast<float>(std::clamp(percent, 0.0, 100.0));
  std::array<std::uint8_t, kRecordSize> record;
  std::memcpy(record.data(), &resource, 4);
  std::memcpy(record.data() + 4, &shownPhase, 2);
  std::memcpy(record.data() + 6, &shown, 4);
  for (std::uint32_t i = 0; i < kRecordSize; ++i) buffer_[(written + i) & mask_] = record[i];
  writeCount_.store(written + kRecordSize, std::memory_order_release);
  return true;
}

std::optional<ProgressRecord> ProgressSource::take() {
  const std::uint32_t read = readCount_.load(std::memory_order_relaxed);
  if (writeCount_.load(std::memory_order_acquire) == read) return std::nullopt;
  std::array<std::uint8_t, kRecordSize> bytes;
  for (std::uint32_t i = 0; i < kRecordSize; ++i) bytes[i] = buffer_[(read + i) & mask_];
  readCount_.store(read + kRecordSize, std::memory_order_release);
  ProgressRecord record;
  std::memcpy(&record.resource, bytes.data(), 4);
  std::memcpy(&record.phase, bytes.data() + 4, 2);
  std::memcpy(&record.percent, bytes.data() + 6, 4);
  return record;
}

}  // namespace Kvex::Sto
