#pragma once

#include <kvex/Batch.h>
#include <kvex/Signal.h>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ArrowInterface.h"

namespace Kvex::Python {

/// Keys and values that stand beside a field or a schema.
using Metadata = std::vector<std::pair<std::string, std::string>>;

/// How a table looks to its consumers.
struct TableForm {
  bool utc = true;     ///< Times as `timestamp[ns, UTC]`, else as int64 GPS nanoseconds.
  bool texts = false;  ///< Dictionaries of value texts in place of the numbers of enumerations.
};

/// One Arrow field; its structure is what a schema and the arrays of a table share.
struct Field {
  std::string name;
  std::string format;
  Metadata metadata;
  std::vector<Field> children;
  bool isDictionary = false;  ///< Of texts; `format` is that of the index.
};

/// The texts that a column has had so far, each with its place. It only grows, so that a place keeps its meaning.
class TextDictionary {
 public:
  /// The texts in Arrow's layout.
  struct Texts {
    std::vector<std::int32_t> offsets{0};
    std::string bytes;
  };

  explicit TextDictionary(const Signal& signal);

  /// Throws `InvalidArgument` beyond 65,536 different texts.
  std::int32_t placeOf(const Value& value);
  std::shared_ptr<const Texts> texts();

 private:
  Signal signal_;
  std::map<std::int64_t, std::int32_t> places_;
  std::shared_ptr<Texts> texts_;
  bool shared_ = false;  ///< A consumer may hold `texts_`.
};

/// Makes the schema and the arrays of a table out of its batches. Values keep the memory of their batch.
class ArrowTable {
 public:
  /// `names` are the columns' names, UTF-8, one for each signal.
  ArrowTable(const std::vector<Signal>& signals, const std::vector<std::string>& names, TableForm form,
             Metadata metadata);

  void makeSchema(ArrowSchema& out) const;
  void makeArray(const Batch& batch, ArrowArray& out);

 private:
  TableForm form_;
  Field root_;
  std::vector<std::unique_ptr<TextDictionary>> dictionaries_;  ///< By column; null where it keeps its numbers.
};

/// Unix nanoseconds of GPS times.
std::vector<std::int64_t> unixTimes(std::span<const Nano> times);

}  // namespace Kvex::Python
