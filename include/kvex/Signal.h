#pragma once

#include <cstdint>
#include <initializer_list>
#include <kvex/Value.h>
#include <kvex/ValueType.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex {

class File;

/// A value of an enumeration and the text it stands for.
struct ValueText {
  std::int64_t value = 0;
  std::string text;

  bool operator==(const ValueText&) const = default;
};

/// What selects a signal that does not stand in all records of its table, but only in those in which another signal,
/// the multiplexer, has certain values. See `ReadOptions::multiplexed`.
struct Multiplexer {
  /// Raw values, as they are before scaling; both ends counted in.
  struct Range {
    std::uint64_t first = 0;
    std::uint64_t last = 0;

    bool operator==(const Range&) const = default;
  };

  std::string signal;         ///< The name of the multiplexer, a signal of the same stream and table.
  std::vector<Range> values;  ///< Those that select, in order.

  /// "Mode = 3", "Mode = 1, 4-7".
  std::string text() const;
  bool operator==(const Multiplexer&) const = default;
};

/// A signal of a file, or one element of an array: what is known of it without reading values. Cheap to copy, and valid
/// also when its `File` is gone. Two are equal if they mean the same signal of the same opened file.
/// Thread safety: may be read by several threads.
class Signal {
 public:
  /// The id of the stream that it belongs to.
  std::uint32_t stream() const;
  /// Its number among the signals of its stream, from 0, in the order in which they are defined: not its place in
  /// `Stream::signals`, which is sorted by type and name.
  std::uint32_t ordinal() const;
  /// "Lat"; of an element "SatUsed[3]". Case counts. A stream may carry a name in several types.
  const std::string& name() const;
  /// "2:Lat": the stream's id and the name.
  std::string qualifiedName() const;
  /// Whether a pattern as `File::match` takes it describes the signal, be there values over time or not.
  bool matches(std::string_view pattern) const;
  ValueType type() const;
  /// Elements: 1 for a scalar and for one element, else the length of the array.
  std::uint32_t count() const;
  bool isArray() const;
  /// Which element of an array this is, from 0; none for a whole signal.
  std::optional<std::uint32_t> element() const;
  /// One element of an array. Throws `NoSuchSignal` beyond `count`, and for what is no array.
  Signal at(std::uint32_t element) const;
  /// What the element of an array is called: its number, if it has no better name.
  std::string elementLabel(std::uint32_t element) const;
  /// UTF-8, as shown to a person. "-" (no dimension) and empty (none given) differ.
  const std::string& unit() const;
  /// One sentence.
  const std::string& description() const;
  /// The table that it belongs to: signals of one table come from the same records. See `File::nativeTables`.
  const std::string& table() const;
  /// What selects the signal; none for a signal that stands in all records of its table.
  const std::optional<Multiplexer>& multiplexer() const;
  /// The smallest step of the shown value; 0 where none is given.
  double resolution() const;
  /// Decimal places for display; -1 where they are not fixed.
  int decimals() const;
  /// The range for display.
  double rangeLow() const;
  double rangeHigh() const;
  /// The position of `rangeLow` on a round gauge, and the way from there to `rangeHigh`, in degrees.
  double dialStart() const;
  double dialSweep() const;
  /// Group bits: 1 for signals that a protocol has in every file, 2 for those that the recording defines.
  std::uint32_t mask() const;

  /// Whether its values have a text form of their own, such as the name of a mode or a date.
  bool hasTexts() const;
  /// The values of an enumeration with their texts, in order; empty for a signal without such.
  const std::vector<ValueText>& texts() const;
  /// The text form of a value of this signal; where it has none, the number as `Value::text` gives it.
  std::string text(const Value& value) const;

  /// The value in the first or last record of the stream; none for an array, for an element, and where the name stands
  /// for another type.
  std::optional<Value> first() const;
  std::optional<Value> last() const;

  bool operator==(const Signal& other) const;

 private:
  friend class SignalAccess;
  struct Data;

  explicit Signal(std::shared_ptr<const Data> data, std::optional<std::uint32_t> element = {});

  std::shared_ptr<const Data> data_;
  std::optional<std::uint32_t> element_;
  std::string elementName_;
};

/// Those of the offered signals that a person chooses by typed texts, in the order of the texts. Each text is tried
///
/// 1. as a name: what `File::signal` takes, of all streams that have it ("*:Name" says so);
/// 2. as several texts, cut at commas outside brackets: "Lat,Lon [°],A[3]";
/// 3. as a pattern as in `File::match`, in place of the name: "2:Gnss*", "*Speed* [m/s]", "*Count[0]"; matches come in
///    the order in which they are offered. Where nothing matches, the case of letters does not count.
///
/// What is chosen twice comes once, at its first place; an array of which some elements are there already comes as its
/// other elements. Throws `NoSuchSignal` with candidates for a text that chooses nothing and for an element that an
/// array of this name does not have, and `InvalidArgument` for an empty text.
std::vector<Signal> choose(const std::vector<std::string>& texts, const std::vector<Signal>& offered);

/// Those names of the signals that are nearest to a name or pattern that describes none of them: at most five, the
/// nearest first.
std::vector<std::string> nearNames(std::string_view text, const std::vector<Signal>& signals);

/// What a reading is asked for: signals, or texts that name them. A text is what `File::signal` takes, or a pattern as
/// `File::match` takes it, which stands for all signals that match. Made in place: `{"2:Lat", "Lon"}`, a list of texts,
/// a list of signals, or one of either.
class SignalList {
 public:
  /// One entry: a text or a signal.
  struct Item {
    Item(const char* name) : text(name) {}             // NOLINT(google-explicit-constructor)
    Item(std::string name) : text(std::move(name)) {}  // NOLINT(google-explicit-constructor)
    Item(std::string_view name) : text(name) {}        // NOLINT(google-explicit-constructor)
    Item(Signal asked) : signal(std::move(asked)) {}   // NOLINT(google-explicit-constructor)

    std::string text;
    std::optional<Signal> signal;
  };

  SignalList() = default;
  SignalList(std::initializer_list<Item> items) : items_(items) {}
  SignalList(Item item) : items_{std::move(item)} {}                                          // NOLINT
  SignalList(const char* name) : SignalList(Item(name)) {}                                    // NOLINT
  SignalList(const std::string& name) : SignalList(Item(name)) {}                             // NOLINT
  SignalList(const Signal& signal) : SignalList(Item(signal)) {}                              // NOLINT
  SignalList(const std::vector<std::string>& names) : items_(names.begin(), names.end()) {}   // NOLINT
  SignalList(const std::vector<Signal>& signals) : items_(signals.begin(), signals.end()) {}  // NOLINT

  const std::vector<Item>& items() const { return items_; }

 private:
  std::vector<Item> items_;
};

}  // namespace Kvex
