#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "store/Stream.h"
#include "tables/SignalTable.h"

namespace Kvex::Sto {

/// What all Streams share that read their signals from tables over a decoded `Record`: listing, subscribing, reading
/// and filling. A Stream has one table or two; a name is looked for in the first one first.
template <class Record, class Wants>
class TabledStream : public Stream {
 public:
  using Table = SignalTable<Record, Wants>;

  std::size_t listSignals(std::vector<SignalListing>& out, std::uint32_t mask) const final {
    std::size_t appended = 0;
    for (const Table* table : tables_) appended += table->list(out, mask, index);
    return appended;
  }

  Sample firstValue(std::string_view signal) const final { return readByName(signal, firstRecord_); }
  Sample lastValue(std::string_view signal) const final { return readByName(signal, lastRecord_); }
  Sample startSample() const final { return timeSample(firstRecord_); }
  Sample endSample() const final { return timeSample(lastRecord_); }

  bool subscribe(std::uint32_t block, std::uint32_t request, std::uint32_t position, Run run,
                 std::string_view signal) final {
    if (!hasTime || block >= blocks_.size() || request >= blocks_[block].setCount) return false;
    bool added = false;
    Lib::withType(run.type, [&](auto tag) {
      using T = typename decltype(tag)::Type;
      for (const Table* table : tables_) {
        const auto* row = table->template find<T>(run.shape, signal);
        if (row == nullptr) continue;
        const Entry<T> entry{row, request, position};
        blocks_[block].sets[request].template of<T>(run.shape).push_back(entry);
        blocks_[block].all.template of<T>(run.shape).push_back(entry);
        added = true;
        return;
      }
    });
    return added;
  }

  bool isSubscribed(std::uint32_t block, Run run, std::string_view signal) const final {
    bool found = false;
    Lib::withType(run.type, [&](auto tag) {
      found = findEntry<typename decltype(tag)::Type>(block, run.shape, signal) != nullptr;
    });
    return found;
  }

  bool lookup(ColumnListing& out, std::uint32_t& source, std::uint32_t block, Run run,
              std::string_view signal) const final {
    bool found = false;
    Lib::withType(run.type, [&](auto tag) {
      const auto* entry = findEntry<typename decltype(tag)::Type>(block, run.shape, signal);
      if (entry == nullptr) return;
      out = listing(*entry, block, run);
      source = entry->row->source;
      found = true;
    });
    return found;
  }

  bool lastSubscribed(ColumnListing& out, std::uint32_t block, Run run) const final {
    bool found = false;
    Lib::withType(run.type, [&](auto tag) {
      if (block >= blocks_.size()) return;
      const auto& entries = blocks_[block].all.template of<typename decltype(tag)::Type>(run.shape);
      if (entries.empty()) return;
      out = listing(entries.back(), block, run);
      found = true;
    });
    return found;
  }

  bool hasRequests(std::uint32_t block) const final {
    if (block >= blocks_.size()) return false;
    bool any = false;
    forEachSubscribed(block, [&](const auto&, Shape) { any = true; });
    return any;
  }

  void prepareBlock(std::uint32_t) override {}

  void fillColumns(std::uint32_t block, std::uint32_t request, ColumnBlock& columns) final {
    if (block >= blocks_.size()) return;
    const auto found = blocks_[block].sets.find(request);
    if (found == blocks_[block].sets.end()) return;
    const EntrySet& set = found->second;
    const Record& record = liveRecord();
    Lib::forEachType([&](auto tag) {
      using T = typename decltype(tag)::Type;
      ColumnGroup<T>& group = columns.groups.of<T>();
      for (const Entry<T>& entry : set.template of<T>(Shape::Scalar)) {
        group.put(entry.position, entry.row->read(record));
      }
      for (const Entry<T>& entry : set.template of<T>(Shape::Array)) {
        for (std::uint32_t element = 0; element < entry.row->count; ++element) {
          group.put(entry.position + element, entry.row->read(record, element));
        }
      }
    });
  }

  void reserveRequests(std::uint32_t block, std::uint32_t count) final {
    if (block < blocks_.size()) blocks_[block].setCount = std::max(blocks_[block].setCount, count);
  }

  void clearRequests(std::uint32_t block) final {
    if (block < blocks_.size()) blocks_[block].sets.clear();
  }

 protected:
  /// `tables` must outlive the Stream.
  TabledStream(ResourceKind resourceKind, std::uint32_t serial, StreamCodec codec, std::vector<const Table*> tables)
      : Stream(resourceKind, serial, codec), tables_(std::move(tables)) {}

  /// The record of newest values, brought up to date.
  virtual const Record& liveRecord() = 0;
  /// The time signal of a record.
  virtual const Lib::NavField<Nano>& timeOf(const Record& record) const = 0;

  /// Calls `visitor(row, shape)` for each entry of each request set of the block.
  template <class Visitor>
  void forEachSubscribed(std::uint32_t block, Visitor&& visitor) const {
    for (const auto& requested : blocks_[block].sets) {
      const EntrySet& set = requested.second;
      for (Shape shape : {Shape::Scalar, Shape::Array}) {
        Lib::forEachType([&](auto tag) {
          for (const auto& entry : set.template of<typename decltype(tag)::Type>(shape)) visitor(*entry.row, shape);
        });
      }
    }
  }

  /// Sets the want of each subscribed row of the block.
  void wantSubscribed(std::uint32_t block, Wants& wants) const {
    if (block >= blocks_.size()) return;
    forEachSubscribed(block, [&](const auto& row, Shape) {
      if (row.want != nullptr) row.want(wants, row.elementIndex);
    });
  }

  Record firstRecord_{};
  Record lastRecord_{};

 private:
  template <class T>
  struct Entry {
    const typename Table::template Row<T>* row;
    std::uint32_t request;
    std::uint32_t position;
  };
  template <class T>
  using Entries = std::vector<Entry<T>>;

  struct EntrySet {
    template <class T>
    Entries<T>& of(Shape shape) {
      return shapes[static_cast<std::size_t>(shape)].template of<T>();
    }
    template <class T>
    const Entries<T>& of(Shape shape) const {
      return shapes[static_cast<std::size_t>(shape)].template of<T>();
    }
    std::array<Lib::PerType<Entries>, 2> shapes;
  };

  /// Subscriptions through one Mode.
  struct RequestBlock {
    EntrySet all;                            ///< In the order of subscribing.
    std::uint32_t setCount = 0;              ///< Request indexes below this may be used.
    std::map<std::uint32_t, EntrySet> sets;  ///< By request index; only those with entries, of which there are few.
  };

  template <class T>
  const Entry<T>* findEntry(std::uint32_t block, Shape shape, std::string_view signal) const {
    if (block >= blocks_.size()) return nullptr;
    for (const auto& [request, set] : blocks_[block].sets) {
      for (const Entry<T>& entry : set.template of<T>(shape)) {
        if (entry.row->name == signal) return &entry;
      }
    }
    return nullptr;
  }

  template <class T>
  ColumnListing listing(const Entry<T>& entry, std::uint32_t block, Run run) const {
    return {{*entry.row, run.type, run.shape == Shape::Array, index}, block, entry.request, entry.position};
  }

  Sample readByName(std::string_view signal, const Record& record) const {
    Sample sample;
    for (const Table* table : tables_) {
      if (table->readByName(sample, signal, record)) break;
    }
    return sample;
  }

  Sample timeSample(const Record& record) const {
    Sample sample;
    sample.set(timeOf(record));
    return sample;
  }

  std::vector<const Table*> tables_;
  std::array<RequestBlock, 3> blocks_;  ///< Block N serves the Mode with id N.
};

}  // namespace Kvex::Sto
