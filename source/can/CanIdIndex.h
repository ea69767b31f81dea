#pragma once

#include <array>
#include <cstdint>

namespace Kvex::Can {

/// From message id to message index: a hash table with open addressing, for at most half as many entries as slots.
/// One multiplication and mostly one comparison find the message of a frame.
class CanIdIndex {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  /// The index of an id; `kNone` for an unknown one.
  std::uint32_t find(std::uint32_t id) const {
    std::uint32_t place = home(id);
    while (slots_[place].index != kNone && slots_[place].id != id) place = (place + 1) % kSlots;
    return slots_[place].index;
  }

  /// REQUIRES: the id is not in the table, which holds fewer than `kSlots` / 2 entries.
  void insert(std::uint32_t id, std::uint32_t index) {
    std::uint32_t place = home(id);
    while (slots_[place].index != kNone) place = (place + 1) % kSlots;
    slots_[place] = {id, index};
  }

 private:
  static constexpr std::uint32_t kSlotBits = 11;
  static constexpr std::uint32_t kSlots = 1U << kSlotBits;

  struct Slot {
    std::uint32_t id = 0;
    std::uint32_t index = kNone;
  };

  // The golden ratio's bits spread ids that follow each other.
  static std::uint32_t home(std::uint32_t id) { return id * 0x9E3779B1U >> (32 - kSlotBits); }

  std::array<Slot, kSlots> slots_;
};

}  // namespace Kvex::Can
