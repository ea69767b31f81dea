#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <kvex/Signal.h>
#include <kvex/Time.h>
#include <kvex/Value.h>
#include <memory>
#include <vector>

namespace Kvex {

/// What a signal did within one slice of time. The values are without type where there is none: `first` and `last`
/// where no sample was usable, `smallest` and `largest` also where none was a number. They have no stamps.
struct Slice {
  std::uint64_t samples = 0;
  std::uint64_t usable = 0;
  Value first;
  Value last;
  Value smallest;
  Value largest;
};

/// What many signals did in each slice of a span: enough to draw them at that width.
/// Thread safety: may be read by several threads.
class Overview {
 public:
  /// The scalar signals and single elements, in the order asked for; an array stands for its elements.
  const std::vector<Signal>& signals() const;
  std::size_t slices() const;
  /// The span that is divided.
  Span span() const;
  /// The time at which a slice starts, which is where the one before ends. `slice` may be `slices()`: the span's end.
  Nano sliceStart(std::size_t slice) const;
  /// REQUIRES: `signal` < `signals().size()` and `slice` < `slices()`.
  Slice at(std::size_t signal, std::size_t slice) const;

 private:
  friend class OverviewAccess;
  struct Data;

  explicit Overview(std::shared_ptr<const Data> data) : data_(std::move(data)) {}

  std::shared_ptr<const Data> data_;
};

/// Is shown an overview now and then while it is made: what of it the walk has found so far. For the time of the call.
using OverviewWatcher = std::function<void(const Overview&)>;

}  // namespace Kvex
