#include "tool/Counters.h"

#include <algorithm>
#include <fmt/format.h>

namespace Kvex::Tool {

namespace {

struct CounterRow {
  std::string_view name;
  std::uint64_t Sto::StreamCounters::*counter;
};

constexpr CounterRow kPageRows[] = {
    {"pages", &Sto::StreamCounters::pages},
    {"pagesAccepted", &Sto::StreamCounters::pagesAccepted},
    {"pagesRejected", &Sto::StreamCounters::pagesRejected},
    {"pagesLost", &Sto::StreamCounters::pagesLost},
    {"holes", &Sto::StreamCounters::holes},
    {"repeatBlocks", &Sto::StreamCounters::repeatBlocks},
    {"flaggedPages", &Sto::StreamCounters::flaggedPages},
    {"endPages", &Sto::StreamCounters::endPages},
};

constexpr std::string_view kDamageCounters[] = {"pagesRejected", "pagesLost", "holes",    "skippedBytes",
                                                "skippedRuns",   "junkBytes", "junkRuns", "truncatedBytes"};

}  // namespace

std::vector<NamedCount> streamCounters(const Sto::Stream& stream, const Sto::Resource& resource) {
  std::vector<NamedCount> result{{"packets", stream.counters.packets}};
  if (resource.kind != Sto::ResourceKind::Recording) return result;
  for (const CounterRow& row : kPageRows) result.emplace_back(row.name, stream.counters.*row.counter);
  return result;
}

std::vector<NamedCount> fileCounters(const Sto::Resource& resource) {
  const Sto::FileHealth& health = resource.health;
  if (resource.kind == Sto::ResourceKind::Recording) {
    return {{"skippedBytes", health.gaps.skippedBytes},
            {"skippedRuns", health.gaps.skippedRuns},
            {"truncatedBytes", health.truncatedBytes}};
  }
  return {{"packetsInAll", health.scan.packets},
          {"junkBytes", health.scan.junkBytes},
          {"junkRuns", health.scan.lostSyncs},
          {"truncatedBytes", health.truncatedBytes}};
}

std::string damageText(const std::vector<NamedCount>& counters) {
  std::string text;
  for (const auto& [name, count] : counters) {
    if (count == 0 || std::ranges::find(kDamageCounters, name) == std::end(kDamageCounters)) continue;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", name, count);
  }
  return text.empty() ? "none" : text;
}

}  // namespace Kvex::Tool
