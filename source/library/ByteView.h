#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace Kvex::Lib {

static_assert(std::endian::native == std::endian::little, "ByteView loads little-endian words as they stand");

/// A packet's bytes with little-endian reads at an offset. A read never leaves the view: bytes beyond its end are 0.
class ByteView {
 public:
  constexpr ByteView() = default;
  constexpr ByteView(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  constexpr ByteView(std::span<const std::uint8_t> bytes) : data_(bytes.data()), size_(bytes.size()) {}

  constexpr const std::uint8_t* data() const { return data_; }
  constexpr std::size_t size() const { return size_; }
  constexpr bool empty() const { return size_ == 0; }

  /// Whether `count` bytes from `offset` on lie in the view.
  constexpr bool holds(std::size_t offset, std::size_t count) const {
    return offset <= size_ && count <= size_ - offset;
  }

  /// The bytes from `offset` on, `count` at the most; fewer where the view ends first.
  constexpr ByteView from(std::size_t offset, std::size_t count = SIZE_MAX) const {
    if (offset >= size_) return {};
    return {data_ + offset, count < size_ - offset ? count : size_ - offset};
  }

  std::uint8_t u8(std::size_t offset) const { return load<std::uint8_t>(offset); }
  std::int8_t s8(std::size_t offset) const { return load<std::int8_t>(offset); }
  std::uint16_t u16(std::size_t offset) const { return load<std::uint16_t>(offset); }
  std::int16_t s16(std::size_t offset) const { return load<std::int16_t>(offset); }
  std::uint32_t u32(std::size_t offset) const { return load<std::uint32_t>(offset); }
  std::int32_t s32(std::size_t offset) const { return load<std::int32_t>(offset); }
  std::uint64_t u64(std::size_t offset) const { return load<std::uint64_t>(offset); }
  std::int64_t s64(std::size_t offset) const { return load<std::int64_t>(offset); }
  float f32(std::size_t offset) const { return load<float>(offset); }
  double f64(std::size_t offset) const { return load<double>(offset); }

  std::uint32_t u24(std::size_t offset) const { return u16(offset) | static_cast<std::uint32_t>(u8(offset + 2)) << 16; }
  /// 24 bits with sign.
  std::int32_t s24(std::size_t offset) const { return static_cast<std::int32_t>(u24(offset) << 8) >> 8; }

 private:
  template <class T>
  T load(std::size_t offset) const {
    T value{};
    if (holds(offset, sizeof(T))) [[likely]] {
      std::memcpy(&value, data_ + offset, sizeof(T));
    } else if (offset < size_) {
      std::memcpy(&value, data_ + offset, size_ - offset);
    }
    return value;
  }

  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace Kvex::Lib
