#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace Kvex::Sto {

/// What a range file asks its range stream, once it is scanned, in order to make the streams of the sources inside.
class RangeSources {
 public:
  virtual ~RangeSources() = default;

  struct Source {
    std::uint32_t address;    ///< 0 for a source known by its provenance alone.
    std::uint8_t provenance;  ///< Code of the port that the source came in by.
  };

  static constexpr std::size_t kPlaces = 8;
  static constexpr std::size_t kTargets = 4;

  /// The source list by places; none where a place is free or not usable.
  virtual std::array<std::optional<Source>, kPlaces> sources() const = 0;
  /// The source address of the hunter's navigation data; none where it is not usable.
  virtual std::optional<std::uint32_t> hunterAddress() const = 0;
  virtual std::array<std::optional<std::uint32_t>, kTargets> targetAddresses() const = 0;
};

}  // namespace Kvex::Sto
