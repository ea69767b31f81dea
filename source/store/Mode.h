#pragma once

#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <vector>

#include "library/ValueType.h"
#include "store/ColumnBlock.h"
#include "tables/SignalInfo.h"

namespace Kvex::Sto {

/// A way of reading signals out of the store: the list of subscribed signals, and the columns that their values are
/// copied into. Mode operations take the locks of their columns themselves.
class Mode {
 public:
  explicit Mode(std::uint32_t modeId) : id(modeId) {}
  virtual ~Mode() = default;
  Mode(const Mode&) = delete;
  Mode& operator=(const Mode&) = delete;

  /// Length of the columns of this value type that serve `request`.
  virtual std::uint32_t columnCount(ValueType type, std::uint32_t request) const = 0;
  /// Makes room for the listing's elements in the columns of its value type, and takes the listing into the Mode's
  /// list. Values held before are lost.
  virtual bool addColumns(std::uint32_t request, const ColumnListing& listing) = 0;

  /// Every signal subscribed, in order.
  const std::vector<ColumnListing>& subscribed() const { return subscribed_; }

  const std::uint32_t id;

 protected:
  static std::uint32_t lengthOf(const ColumnBlock& block, ValueType type);
  static void grow(ColumnBlock& block, const ColumnListing& listing);

  std::vector<ColumnListing> subscribed_;
};

/// One set of columns for the whole store, filled at each retrieval.
class ModeDirect final : public Mode {
 public:
  using Mode::Mode;

  std::uint32_t columnCount(ValueType type, std::uint32_t request) const override;
  bool addColumns(std::uint32_t request, const ColumnListing& listing) override;

  ColumnBlock columns;
};

/// Settings of `ModeRetain`.
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

/// One set of columns and one time grid per Stream.
class ModeRetain final : public Mode {
 public:
  ModeRetain(std::uint32_t modeId, const RetainSettings& settings) : Mode(modeId), settings_(settings) {}

  /// `request` is the stream id.
  std::uint32_t columnCount(ValueType type, std::uint32_t request) const override;
  bool addColumns(std::uint32_t request, const ColumnListing& listing) override;

  /// Adds the next Stream with its span; one whose span has no grid gets an empty entry.
  void addStream(Lib::Nano start, Lib::Nano end);
  /// Adds an empty entry, for a Stream without time.
  void addEmptyStream();

 private:
  struct RetainBlock : ColumnBlock {
    RetainGrid grid;
    Lib::Nano start = 0;
    Lib::Nano end = 0;
  };

  RetainBlock* blockOf(std::uint32_t streamId) const;

  RetainSettings settings_;
  mutable std::shared_mutex listLock_;  ///< Guards the list; released before a block's lock is taken.
  std::vector<std::unique_ptr<RetainBlock>> blocks_;
};

}  // namespace Kvex::Sto
