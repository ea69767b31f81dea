#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "library/NavField.h"
#include "library/ValueType.h"
#include "tables/SignalInfo.h"

namespace Kvex::Sto {

/// A signal and its binding to the decoded record of its protocol.
struct SignalRow : SignalInfo {
  /// Gives the place of this signal in a record of its protocol: a `NavField` of the row's value type, or for an array
  /// the first of `count` such fields, which lie one behind the other.
  using Accessor = const void* (*)(const void* record, std::uint32_t blockIndex);
  /// Marks this signal as wanted in the want tree of its protocol, so that the decoder fills its field.
  using Want = void (*)(void* wants, std::uint32_t blockIndex);

  /// As a signal's message: any step may write it. As a step's message: it may write any signal.
  static constexpr std::int32_t kAnyMessage = -1;
  /// As a step's message: it may write only the signals that any step may write.
  static constexpr std::int32_t kNoMessage = -2;

  std::uint32_t blockIndex = 0;  ///< The block of the record that the row reads, where the record has several alike.
  std::uint32_t source = 0;      ///< The kind of block (0: the record itself); handed out in samples.
  Accessor accessor = nullptr;
  Want want = nullptr;
  /// The one message that writes this signal, numbered by the Stream as in `Stream::stepMessage`.
  std::int32_t message = kAnyMessage;

  /// The fields of this signal in a record, of which there are `count`.
  template <class T>
  const Lib::NavField<T>* fields(const void* record) const {
    return static_cast<const Lib::NavField<T>*>(accessor(record, blockIndex));
  }

  /// The first element of this signal in a record.
  Sample read(const void* record) const;
};

/// Makes the accessor of a row of a captureless `getter(record, blockIndex)`, which gives a reference to the field, or
/// to the first one of an array.
template <class Record, class Getter>
constexpr SignalRow::Accessor accessorOf(Getter) {
  return [](const void* record, std::uint32_t blockIndex) -> const void* {
    return &Getter{}(*static_cast<const Record*>(record), blockIndex);
  };
}

/// Makes the want function of a row of a captureless `setter(wants, blockIndex)`.
template <class Wants, class Setter>
constexpr SignalRow::Want wantOf(Setter) {
  return [](void* wants, std::uint32_t blockIndex) { Setter{}(*static_cast<Wants*>(wants), blockIndex); };
}

/// The signals of one protocol, or of one self-describing stream. Filled once and then only read, so that threads can
/// share it. Rows keep their addresses.
class SignalTable {
 public:
  static constexpr std::uint32_t kMaxOrdinals = 1000;
  /// Bytes of a name, and of what else a row says in words: the rows of a table share no texts.
  static constexpr std::size_t kMaxText = 4096;

  /// `firstOrdinal`: the ordinal of the first row; a second table of a stream goes on where the first one ended.
  explicit SignalTable(std::uint32_t firstOrdinal = 0) : firstOrdinal_(firstOrdinal) {}
  SignalTable(const SignalTable&) = delete;
  SignalTable& operator=(const SignalTable&) = delete;
  SignalTable(SignalTable&&) = default;

  /// Rows inserted so far.
  std::uint32_t count() const { return static_cast<std::uint32_t>(rows_.size()); }

  /// Inserts a row and gives it the next ordinal. Refuses, giving false and changing nothing, a row beyond the limit of
  /// `kMaxOrdinals`, a name of more than `kMaxText` bytes, and one that a row of the same type and shape has already.
  /// Longer descriptions, units and table names are cut.
  bool insert(SignalRow row);
  /// Whether a scalar row of this type and name would be taken.
  bool takesScalar(ValueType type, std::string_view name) const;

  /// The row of exactly this name, type and shape, or none.
  const SignalRow* find(Lib::Run run, std::string_view name) const;
  /// The scalar of this name in the first type in run order that has it, or none.
  const SignalRow* findScalar(std::string_view name) const;

  /// Calls `visitor(row)` for each row in listing order: in run order, and by name within a run.
  template <class Visitor>
  void forEach(Visitor&& visitor) const {
    for (const auto& [key, row] : rows_) visitor(row);
  }

 private:
  /// A run's place in the order of all runs, and a name.
  using Key = std::pair<std::size_t, std::string>;
  struct KeyOrder {
    using is_transparent = void;
    template <class A, class B>
    bool operator()(const A& a, const B& b) const {
      return a.first != b.first ? a.first < b.first : std::string_view(a.second) < std::string_view(b.second);
    }
  };

  std::uint32_t firstOrdinal_;
  std::map<Key, SignalRow, KeyOrder> rows_;
};

}  // namespace Kvex::Sto
