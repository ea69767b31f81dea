#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "library/ValueType.h"
#include "tables/SignalInfo.h"

namespace Kvex::Sto {

/// A signal's name as a client gives it: "Name", or "Name[3]" for one element of an array.
struct SignalName {
  std::string_view name;
  std::optional<std::uint32_t> element;
};

/// Takes a name apart. Text between the brackets that is no number reads as element 0.
SignalName parseSignalName(std::string_view text);

/// One output position of a retrieval: the signal, with `name`, `count` and `position` of this one element.
struct QueryColumn : ColumnListing {
  std::uint32_t listingIndex = 0;  ///< Index in the query's listings.
  std::uint32_t element = 0;       ///< Array element; 0 for a scalar.
};

/// A run of consecutive columns that goes to consecutive output positions.
struct QueryEntry {
  std::uint32_t request;
  std::uint32_t position;  ///< First index in the columns.
  std::uint32_t outIndex;  ///< First index in the result list.
  std::uint32_t count;
  std::uint32_t source;  ///< Goes into the samples.
};

/// A prepared list of signals. It must not outlive the store that filled it.
class SignalQuery {
 public:
  /// The entries of one request, by value type.
  template <class T>
  struct Entries : std::vector<QueryEntry> {};
  using Group = Lib::PerType<Entries>;

  /// Adds a subscribed signal, or one element of it. An element of a scalar is ignored. False, with nothing added, for
  /// an element beyond the array.
  bool add(const ColumnListing& listing, std::uint32_t source, std::optional<std::uint32_t> element);

  /// By request index.
  const std::map<std::uint32_t, Group>& groups() const { return groups_; }
  /// One per signal added.
  const std::vector<ColumnListing>& listings() const { return listings_; }
  /// One per output position.
  const std::vector<QueryColumn>& columns() const { return columns_; }

 private:
  std::map<std::uint32_t, Group> groups_;
  std::vector<ColumnListing> listings_;
  std::vector<QueryColumn> columns_;
};

}  // namespace Kvex::Sto
