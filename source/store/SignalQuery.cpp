#include "store/SignalQuery.h"

#include <charconv>

namespace Kvex::Sto {

SignalName parseSignalName(std::string_view text) {
  if (!text.ends_with(']')) return {text, std::nullopt};
  const std::size_t open = text.find('[');
  if (open == std::string_view::npos) return {text, 0};
  const std::string_view number = text.substr(open + 1, text.find(']', open) - open - 1);
  std::uint32_t element = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), element);
  if (error == std::errc::result_out_of_range) element = UINT32_MAX;
  return {text.substr(0, open), element};
}

bool SignalQuery::add(const ColumnListing& listing, std::uint32_t source, std::optional<std::uint32_t> element) {
  std::uint32_t first = 0;
  std::uint32_t count = listing.count;
  if (listing.isArray && element) {
    if (*element >= listing.count) return false;
    first = *element;
    count = 1;
  }
  const auto listingIndex = static_cast<std::uint32_t>(listings_.size());
  const auto outIndex = static_cast<std::uint32_t>(columns_.size());
  listings_.push_back(listing);
  Lib::withType(listing.valueType, [&](auto tag) {
    groups_[listing.request].of<typename decltype(tag)::Type>().push_back(
        {listing.request, listing.position + first, outIndex, count, source});
  });
  for (std::uint32_t i = first; i < first + count; ++i) {
    QueryColumn column{listing, listingIndex, i};
    column.name = listing.elementName(i);
    column.count = 1;
    column.position = listing.position + i;
    columns_.push_back(std::move(column));
  }
  return true;
}

}  // namespace Kvex::Sto
