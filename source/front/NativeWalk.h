#pragma once

#include <cstdint>
#include <kvex/Signal.h>
#include <span>
#include <vector>

#include "front/Reading.h"
#include "library/NavField.h"
#include "store/NativeReader.h"

namespace Kvex::Front {

/// The walk through one stream that gives all samples of some of its signals: what every reading but the grid consumes.
class NativeWalk {
 public:
  /// What is asked of a signal of the walk.
  struct Use {
    std::uint32_t asked;    ///< The place in the list that was asked for.
    std::uint32_t element;  ///< Of an array, where not `whole`.
    bool whole;
  };

  /// `signals`: those asked for, of one stream; a signal, its elements too, may be asked for several times.
  NativeWalk(Reading& reading, const std::vector<Signal>& signals);

  /// Goes to the next step whose time is in the span asked for. False at the end of the data. Throws `Cancelled`.
  bool step();
  /// The time of the step.
  Nano time() const { return reader_->time(); }

  /// Calls `visitor(uses, fields)` for each signal that has a sample in the step, with what is asked of it. To be
  /// called once after each step. An element of an array whose flags have `kUntimed` has no sample.
  template <class Visitor>
  void visit(Visitor&& visitor) {
    reader_->visitSamples([&](std::uint32_t index, const auto& fields) { visitor(usesOf(index), fields); });
  }

 private:
  std::span<const Use> usesOf(std::uint32_t index) const {
    return {uses_.data() + firstUse_[index], uses_.data() + firstUse_[index + 1]};
  }
  void tell();

  Reading& reading_;
  Sto::NativeReader* reader_ = nullptr;
  std::vector<Use> uses_;
  std::vector<std::uint32_t> firstUse_;  ///< By signal of the walk, and the end.
  Span span_;
  Span streamSpan_;
  std::uint32_t steps_ = 0;
};

/// The signals of each stream, in the order in which the streams first come, with their places in the list.
struct StreamPart {
  std::uint32_t stream;
  std::vector<Signal> signals;
  std::vector<std::size_t> places;
};
std::vector<StreamPart> partsByStream(const std::vector<Signal>& signals);

}  // namespace Kvex::Front
