#pragma once

#include <cstdint>
#include <vector>

#include "nav/BiquadFilter.h"

namespace Kvex::Nav {

/// A low-pass filter of even order: a chain of second-order stages of one cut-off frequency.
class ButterworthCascade {
 public:
  static constexpr std::uint8_t kInvalidType = 0;
  static constexpr std::uint8_t kButterworth = 1;
  static constexpr std::uint8_t kUnknownType = 13;

  /// Makes the filter one of this type (a value of the enumeration `LinJerkFiltType`), `order` and cut-off `frequency`
  /// in Hz. Stages that stay keep their samples. Nothing happens where that is what the filter is, for a frequency not
  /// above 0, an order that is 0 or odd, and for an invalid or unknown type. A type that is valid but none known here
  /// leaves the stages as they are.
  void configure(std::uint8_t type, std::uint8_t order, double frequency);

  /// Takes the sample `x` at the time `t` (seconds). A stage that is not ready passes its input on.
  void step(double t, double x);

  /// Whether the last stage had an output for the last sample.
  bool ready() const { return ready_; }
  /// The last output.
  double output() const { return output_; }

 private:
  std::uint8_t type_ = kInvalidType;
  std::uint8_t order_ = 0;
  double frequency_ = -1.0;
  std::vector<BiquadFilter> stages_;
  double output_ = -1.0;
  bool ready_ = false;
};

}  // namespace Kvex::Nav
