#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "library/NavField.h"
#include "library/ValueType.h"
#include "tables/SignalTable.h"

namespace Kvex::Sto {

/// The columns of one value type: column N shows the field of the Nth element that was subscribed.
template <class T>
struct ColumnGroup : std::vector<const Lib::NavField<T>*> {};

/// The columns that the signals of one request are read through.
using Columns = Lib::PerType<ColumnGroup>;

/// Where a subscribed signal stands: its request and its first column.
struct ColumnPlace {
  std::uint32_t request = 0;
  std::uint32_t position = 0;
};

/// A way of reading signals out of the store: which signals of each Stream are subscribed, and the columns that show
/// their fields. A signal is subscribed once. Its row and the place of its fields in the Stream's live record are kept,
/// so that a read looks nothing up.
class Mode {
 public:
  enum class Requests : std::uint8_t {
    One,        ///< All Streams share request 0.
    PerStream,  ///< A Stream's id is its request.
  };

  Mode(std::uint32_t modeId, Requests requests) : id(modeId), requests_(requests) {}

  /// Enters the next Stream. With a request of its own it has columns only if those are `kept`.
  void addStream(bool kept);
  /// Elements of a value type that the columns for this Stream show.
  std::uint32_t columnCount(ValueType type, std::uint32_t streamId) const;
  /// The columns for a Stream; null where it has none.
  const Columns* columns(std::uint32_t streamId) const;

  /// Appends a signal, whose fields lie in `record`, to the columns for its Stream. Changes nothing where it is
  /// subscribed already.
  void subscribe(std::uint32_t streamId, const SignalRow& row, const void* record);
  /// Where a signal of a Stream stands; null for one that is not subscribed.
  const ColumnPlace* find(std::uint32_t streamId, const SignalRow& row) const;
  /// The signals of a Stream in the order of subscribing.
  const std::vector<const SignalRow*>& rows(std::uint32_t streamId) const { return streams_[streamId].rows; }
  /// Drops all signals. What queries know of them no longer holds.
  void clear();

  const std::uint32_t id;

 private:
  struct Subscriptions {
    std::vector<const SignalRow*> rows;
    std::map<const SignalRow*, ColumnPlace> places;
    std::unique_ptr<Columns> columns;  ///< Of a request of its own.
  };

  std::uint32_t requestOf(std::uint32_t streamId) const { return requests_ == Requests::One ? 0 : streamId; }

  const Requests requests_;
  Columns shared_;  ///< Of request 0 that all Streams share.
  std::vector<Subscriptions> streams_;
};

/// Settings of the Mode that retains.
struct RetainSettings {
  std::uint32_t retainBits = 16;                      ///< At most 2 to this power bins per Stream.
  std::int64_t startInterval = Lib::kNanosPerSecond;  ///< Starting bin width in nanoseconds.
};

/// A time grid over a Stream's span.
struct RetainGrid {
  Lib::Nano firstBin = 0;     ///< Time of the first bin.
  std::int64_t binWidth = 0;  ///< Width of a bin in nanoseconds; 0 where the span or the settings allow no grid.
};

/// The grid for a span: bins of the starting width, widened until their number is within the limit, with the span in
/// the middle where the limit leaves room.
RetainGrid retainGrid(Lib::Nano start, Lib::Nano end, const RetainSettings& settings);

}  // namespace Kvex::Sto
