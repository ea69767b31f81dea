#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Kvex::Nav {

/// One row of a decision list: what its keys must be, and for each key the row to go on at where that key differs.
/// There the search goes on with the same key: rows share the keys ahead of it.
template <std::size_t Keys, std::size_t Columns = 1>
struct DecisionRow {
  std::array<std::uint8_t, Keys> keys;
  std::array<std::uint16_t, Keys> otherwise;
  std::array<std::uint16_t, Columns> results;
};

/// The results of the row whose keys are all met, or null. A list that leads backwards ends without a match.
template <std::size_t Keys, std::size_t Columns>
const std::array<std::uint16_t, Columns>* decide(std::span<const DecisionRow<Keys, Columns>> rows,
                                                 const std::array<std::uint8_t, Keys>& keys) {
  std::size_t row = 0;
  std::size_t key = 0;
  while (row < rows.size()) {
    if (rows[row].keys[key] == keys[key]) {
      if (++key == Keys) return &rows[row].results;
      continue;
    }
    const std::size_t next = rows[row].otherwise[key];
    if (next <= row) break;
    row = next;
  }
  return nullptr;
}

}  // namespace Kvex::Nav
