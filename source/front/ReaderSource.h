#pragma once

#include <kvex/Batch.h>
#include <kvex/Reader.h>
#include <memory>

namespace Kvex {

/// Where a `Reader` has its batches from.
class Reader::Source {
 public:
  virtual ~Source() = default;
  /// The next batch; false at the end of the data.
  virtual bool next(Batch& batch) = 0;
};

/// What the front door's own code may do with a `Reader`.
class ReaderAccess {
 public:
  using Source = Reader::Source;

  static Reader make(std::unique_ptr<Source> source) { return Reader(std::move(source)); }
};

}  // namespace Kvex
