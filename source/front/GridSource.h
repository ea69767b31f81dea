#pragma once

#include <cstddef>
#include <kvex/Grid.h>
#include <vector>

#include "front/BatchMemory.h"
#include "front/ReaderSource.h"
#include "front/Reading.h"

namespace Kvex::Front {

/// The times of a grid, one after the other.
class GridTimes {
 public:
  virtual ~GridTimes() = default;
  /// The next time; none at the end. Times do not decrease.
  virtual std::optional<Nano> next() = 0;
};

/// Sample and hold at the times of a grid.
class GridSource : public ReaderAccess::Source {
 public:
  /// REQUIRES: signals that can be read.
  GridSource(std::shared_ptr<OpenedFile> file, const std::vector<Signal>& signals, std::unique_ptr<GridTimes> times,
             Span span, const ReadOptions& options);

  bool next(Batch& batch) override;

 private:
  /// Where a column's values stand among the samples of a row.
  struct Place {
    std::size_t column;
    std::size_t sample;
  };

  void subscribe(const std::vector<Signal>& signals);
  bool readRow(Nano time);
  void writeRow();
  template <class T>
  void writeScalars(const std::vector<Place>& places);
  void writeList(const Place& place);

  Reading reading_;
  std::unique_ptr<GridTimes> times_;
  Span span_;
  Sto::SignalQuery query_;
  std::vector<Lib::Sample> samples_;
  BatchWriter writer_;
  template <class T>
  struct Places : std::vector<Place> {};
  Lib::PerType<Places> scalars_;
  std::vector<Place> lists_;
  bool begun_ = false;
};

/// The times of a grid in a span. For a grid at a signal's times, which must be of `signals`, they are read from `file`
/// piece by piece. Throws `InvalidArgument` for a period of 0 or less and for times that decrease.
std::unique_ptr<GridTimes> gridTimes(const Grid& grid, Span span);

}  // namespace Kvex::Front
