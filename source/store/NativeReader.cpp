#include "store/NativeReader.h"

namespace Kvex::Sto {

NativeReader::NativeReader(Stream& stream, StreamWalker& walker, const std::vector<const SignalRow*>& rows,
                           const std::atomic<bool>& cancel)
    : stream_(stream), walker_(walker), cancel_(cancel), groups_(1) {
  stream_.want(rows);
  if (walker_.canWalk()) walker_.restart();
  const void* record = stream_.liveRecord();
  for (std::uint32_t index = 0; index < rows.size(); ++index) bind(index, *rows[index], record);
}

void NativeReader::bind(std::uint32_t index, const SignalRow& row, const void* record) {
  const auto groupIndex = static_cast<std::size_t>(row.message + 1);
  if (groupIndex >= groups_.size()) groups_.resize(groupIndex + 1);
  Group& group = groups_[groupIndex];
  Lib::withType(row.valueType, [&](auto tag) {
    using T = typename decltype(tag)::Type;
    // The record is the Stream's own, which a row may only look at; the mark of a write is taken back here.
    auto* fields = const_cast<Lib::NavField<T>*>(row.fields<T>(record));
    for (std::uint32_t element = 0; element < row.count; ++element) fields[element].written = false;
    if (!row.isArray) {
      group.scalars.of<T>().push_back({fields, stateOf(*fields), index});
      return;
    }
    Array<T> array{{fields, row.count}, {}, index};
    for (const Lib::NavField<T>& field : array.fields) array.states.push_back(stateOf(field));
    group.arrays.of<T>().push_back(std::move(array));
  });
}

bool NativeReader::advance() {
  if (!inPacket_) {
    if (!walker_.canWalk() || cancel_.load(std::memory_order_relaxed) || !walker_.nextPacket(packet_)) return false;
    position_ = 0;
  }
  position_ = stream_.takeStep(packet_, position_);
  inPacket_ = position_ < packet_.size();
  walker_.followTime();
  return true;
}

}  // namespace Kvex::Sto
