#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "library/NavField.h"
#include "library/ValueType.h"

namespace Kvex::Sto {

/// Whether a value is a number that can be compared.
template <class T>
bool isNumber(T value) {
  if constexpr (std::is_floating_point_v<T>) return value == value;  // what is not a number does not equal itself
  return true;
}

/// Whether two values count as the same: what is not a number equals what is not a number.
template <class T>
bool same(T a, T b) {
  return a == b || (!isNumber(a) && !isNumber(b));
}

/// What the usable samples of many elements come to: first and last, smallest and largest, and how often they changed.
/// Values are taken from the fields as they are written, so that none is kept by step.
class SampleTally {
 public:
  /// A value as its bytes, with its stamp.
  struct Stamped {
    std::uint64_t bits = 0;
    Nano stamp = 0;
  };

  void addElement(Lib::ValueType type) {
    for (auto* words : {&lasts_, &smallests_, &largests_, &changes_}) words->push_back(0);
    stamps_.push_back(0);
    rest_.push_back({.type = type});
  }

  Lib::ValueType type(std::size_t element) const { return rest_[element].type; }
  bool hasAny(std::size_t element) const { return rest_[element].hasAny; }
  /// Whether a sample was a number; without, there is no smallest and no largest.
  bool hasNumber(std::size_t element) const { return rest_[element].hasNumber; }
  Stamped first(std::size_t element) const { return rest_[element].first; }
  Stamped last(std::size_t element) const { return {lasts_[element], stamps_[element]}; }
  Stamped smallest(std::size_t element) const { return {smallests_[element], rest_[element].smallestStamp}; }
  Stamped largest(std::size_t element) const { return {largests_[element], rest_[element].largestStamp}; }
  std::uint64_t changes(std::size_t element) const { return changes_[element]; }

  /// Adds a usable sample.
  template <class T>
  void add(std::size_t element, const Lib::NavField<T>& field) {
    Rest& rest = rest_[element];
    if (rest.hasAny) {
      changes_[element] += same(valueOf<T>(lasts_[element]), field.value) ? 0 : 1;
    } else {
      rest.hasAny = true;
      rest.first = {bitsOf(field.value), field.stamp};
    }
    lasts_[element] = bitsOf(field.value);
    stamps_[element] = field.stamp;
    if (!isNumber(field.value)) return;
    if (!rest.hasNumber || field.value < valueOf<T>(smallests_[element])) {
      smallests_[element] = bitsOf(field.value);
      rest.smallestStamp = field.stamp;
    }
    if (!rest.hasNumber || field.value > valueOf<T>(largests_[element])) {
      largests_[element] = bitsOf(field.value);
      rest.largestStamp = field.stamp;
    }
    rest.hasNumber = true;
  }

  /// Adds a usable sample of each of some elements of which `hasNumber` holds, and takes back the mark of the write.
  template <class T>
  void addWritten(std::size_t element, Lib::NavField<T>* fields, std::size_t count) {
    std::size_t i = 0;
    if constexpr (std::is_same_v<T, double>) i = addPairs(element, fields, count);
    for (; i < count; ++i) {
      fields[i].written = false;
      add(element + i, fields[i]);
    }
  }

  template <class T>
  static T valueOf(std::uint64_t bits) {
    T value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

 private:
  /// Two of a kind that the processor handles at once.
  using Doubles = double __attribute__((vector_size(16)));
  using Words = std::int64_t __attribute__((vector_size(16)));

  struct Rest {
    Lib::ValueType type = Lib::ValueType::None;
    bool hasAny = false;
    bool hasNumber = false;
    Stamped first;
    Nano smallestStamp = 0;
    Nano largestStamp = 0;
  };

  template <class T>
  static std::uint64_t bitsOf(T value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
  }

  template <class Pair, class Word>
  static Pair load(const Word* words) {
    Pair pair;
    std::memcpy(&pair, words, sizeof pair);
    return pair;
  }

  /// Adds two elements at a time, for most values are numbers between those that were the smallest and the largest
  /// before. Gives how many it added.
  std::size_t addPairs(std::size_t element, Lib::NavField<double>* fields, std::size_t count) {
    // At hand, and not read anew after each write to a field, which could change any object as the compiler sees it.
    std::uint64_t* const lasts = &lasts_[element];
    std::uint64_t* const changes = &changes_[element];
    const std::uint64_t* const smallests = &smallests_[element];
    const std::uint64_t* const largests = &largests_[element];
    Nano* const stamps = &stamps_[element];
    std::size_t i = 0;
    for (; i + 2 <= count; i += 2) {
      Lib::NavField<double>& one = fields[i];
      Lib::NavField<double>& other = fields[i + 1];
      one.written = false;
      other.written = false;
      const Doubles values{one.value, other.value};
      const Words inside = (values >= load<Doubles>(smallests + i)) & (values <= load<Doubles>(largests + i));
      if (inside[0] + inside[1] != -2) [[unlikely]] {
        add(element + i, one);
        add(element + i + 1, other);
        continue;
      }
      const Words counted = load<Words>(changes + i) - (values != load<Doubles>(lasts + i));
      std::memcpy(changes + i, &counted, sizeof counted);
      std::memcpy(lasts + i, &values, sizeof values);
      stamps[i] = one.stamp;
      stamps[i + 1] = other.stamp;
    }
    return i;
  }

  // By element. What each sample is held against lies apart, so that it stays in the processor's cache.
  std::vector<std::uint64_t> lasts_;
  std::vector<std::uint64_t> smallests_;
  std::vector<std::uint64_t> largests_;
  std::vector<std::uint64_t> changes_;
  std::vector<Nano> stamps_;  ///< Of the last.
  std::vector<Rest> rest_;
};

}  // namespace Kvex::Sto
