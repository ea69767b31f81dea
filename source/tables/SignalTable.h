#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "library/NavField.h"
#include "library/ValueType.h"
#include "tables/SignalInfo.h"

namespace Kvex::Sto {

/// A signal of value type `T` and its binding to the decoded `Record` of its protocol. `Wants` is the protocol's want
/// tree.
template <class T, class Record, class Wants>
struct SignalRow : SignalInfo {
  /// Gives the field of this signal in a record. `element` is the index in an array signal, else 0.
  using Accessor = const Lib::NavField<T>& (*)(const Record& record, std::uint32_t elementIndex, std::uint32_t element);
  /// Marks this signal as wanted, so that the decoder fills its field.
  using Want = void (*)(Wants& wants, std::uint32_t elementIndex);

  std::uint32_t elementIndex = 0;  ///< The block of the record that the row reads, where the record has several alike.
  std::uint32_t source = 0;        ///< The kind of block (0: the record itself); handed out in samples.
  Accessor accessor = nullptr;
  Want want = nullptr;

  const Lib::NavField<T>& read(const Record& record, std::uint32_t element = 0) const {
    return accessor(record, elementIndex, element);
  }
};

/// The signals of one protocol, or of one self-describing stream: eleven maps of scalar rows and eleven of array rows,
/// by name. Filled once and then only read, so that threads can share it.
template <class Record, class Wants>
class SignalTable {
 public:
  template <class T>
  using Row = SignalRow<T, Record, Wants>;
  template <class T>
  using RowMap = std::map<std::string, Row<T>, std::less<>>;

  static constexpr std::uint32_t kMaxOrdinals = 1000;

  /// `firstOrdinal`: the ordinal of the first row; a second table of a stream goes on where the first one ended.
  explicit SignalTable(std::uint32_t firstOrdinal = 0) : firstOrdinal_(firstOrdinal) {}

  /// Rows inserted so far.
  std::uint32_t count() const { return count_; }

  /// Inserts a row and gives it the next ordinal. Refuses, giving false and changing nothing, a row beyond the limit of
  /// `kMaxOrdinals` and a name that the map of this type and shape holds already.
  template <class T>
  bool insert(Row<T> row, Shape shape = Shape::Scalar) {
    const std::uint32_t ordinal = firstOrdinal_ + count_;
    if (ordinal >= kMaxOrdinals) return false;
    row.ordinal = static_cast<std::int32_t>(ordinal);
    std::string name = row.name;
    if (!rows<T>(shape).emplace(std::move(name), std::move(row)).second) return false;
    ++count_;
    return true;
  }

  template <class T>
  const RowMap<T>& rows(Shape shape) const {
    return maps_[static_cast<std::size_t>(shape)].template of<T>();
  }

  /// The row of exactly this name, type and shape, or none.
  template <class T>
  const Row<T>* find(Shape shape, std::string_view name) const {
    const RowMap<T>& map = rows<T>(shape);
    const auto found = map.find(name);
    return found == map.end() ? nullptr : &found->second;
  }

  /// Appends a listing of each row whose group mask meets `mask`, in run order and by name within a run. Gives the
  /// number appended.
  std::size_t list(std::vector<SignalListing>& out, std::uint32_t mask, std::int32_t streamId) const {
    const std::size_t before = out.size();
    for (const Lib::Run run : Lib::kAllRuns) {
      Lib::withType(run.type, [&](auto tag) {
        for (const auto& [name, row] : rows<typename decltype(tag)::Type>(run.shape)) {
          if ((row.groupMask & mask) == 0) continue;
          out.push_back({row, run.type, run.shape == Shape::Array, streamId});
        }
      });
    }
    return out.size() - before;
  }

  /// Value, flags and stamp of the scalar of this name, in the first type in run order that has it. Gives false where
  /// no type has it.
  bool readByName(Sample& out, std::string_view name, const Record& record) const {
    return Lib::anyType([&](auto tag) {
      const auto* row = find<typename decltype(tag)::Type>(Shape::Scalar, name);
      if (row == nullptr) return false;
      out.set(row->read(record));
      out.source = row->source;
      return true;
    });
  }

 private:
  template <class T>
  RowMap<T>& rows(Shape shape) {
    return maps_[static_cast<std::size_t>(shape)].template of<T>();
  }

  std::uint32_t firstOrdinal_;
  std::uint32_t count_ = 0;
  std::array<Lib::PerType<RowMap>, 2> maps_;
};

}  // namespace Kvex::Sto
