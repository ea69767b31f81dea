#pragma once

#include <cstddef>
#include <kvex/Grid.h>
#include <memory>
#include <optional>
#include <vector>

#include "front/BatchMemory.h"
#include "front/GridTimes.h"
#include "front/ReaderSource.h"
#include "front/Reading.h"

namespace Kvex::Front {

/// Sample and hold at the times of a grid.
class GridSource : public ReaderAccess::Source {
 public:
  /// REQUIRES: signals that can be read.
  GridSource(std::shared_ptr<OpenedFile> file, const std::vector<Signal>& signals, const Grid& grid,
             const ReadOptions& options);

  bool next(Batch& batch) override;

 private:
  /// Where the samples of a column stand in a row of the query.
  struct Place {
    ColumnWriter* column;
    std::size_t sample;
  };
  template <class T>
  struct Places : std::vector<Place> {};

  void subscribe(const std::vector<Signal>& signals);
  void read(Nano time);
  /// Marks the samples of the newest row that are older than they may be.
  void expire(Nano time);
  void writeRow();

  Reading reading_;
  std::unique_ptr<GridTimes> times_;
  BatchWriter writer_;
  Sto::SignalQuery query_;
  std::optional<Nano> maxAge_;
  std::vector<Lib::Sample> samples_;
  Lib::PerType<Places> places_;
};

}  // namespace Kvex::Front
