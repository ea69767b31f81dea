#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <kvex/Signal.h>
#include <span>
#include <vector>

#include "front/Reading.h"
#include "store/NativeReader.h"

namespace Kvex::Front {

using Sto::forEachStep;

/// The walk through one stream that gives all samples of some of its signals, in blocks of steps: what every reading
/// but the grid consumes.
class NativeWalk {
 public:
  using Detail = Sto::NativeReader::Detail;

  /// `signals`: those asked for, of one stream; a signal, its elements too, may be asked for several times.
  NativeWalk(Reading& reading, const std::vector<Signal>& signals, Detail detail);

  /// Goes to the next block that has steps in the span asked for. False at the end of the data. Throws `Cancelled` and
  /// `Superseded`.
  bool nextBlock();
  /// The steps of the block whose times are in the span.
  std::uint64_t steps() const { return steps_; }
  Nano time(std::size_t step) const { return reader_->times()[step]; }
  /// The samples of the block. `elementOf` has the place of what was asked for: a scalar, an element, or the first
  /// element of an array, which the others follow.
  const Sto::NativeReader& samples() const { return *reader_; }
  std::size_t elementOf(std::size_t asked) const { return elements_[asked]; }
  /// The steps in the span in which a scalar or element has a sample.
  std::uint64_t stepsOf(std::size_t element) const { return reader_->samples(element) & steps_; }

 private:
  void report();

  Reading& reading_;
  Sto::NativeReader* reader_ = nullptr;
  std::vector<std::size_t> elements_;  ///< By place in the list asked for.
  Span span_;
  Span streamSpan_;
  std::uint64_t steps_ = 0;
  std::uint32_t blocks_ = 0;
};

/// The signals of each stream, in the order in which the streams first come, with their places in the list.
struct StreamPart {
  std::uint32_t stream;
  std::vector<Signal> signals;
  std::vector<std::size_t> places;
};
std::vector<StreamPart> partsByStream(const std::vector<Signal>& signals);

}  // namespace Kvex::Front
