#include "tool/Counters.h"

#include <algorithm>
#include <fmt/format.h>

namespace Kvex::Tool {

namespace {

constexpr std::string_view kDamageCounters[] = {"pagesRejected", "pagesLost", "holes",    "skippedBytes",
                                                "skippedRuns",   "junkBytes", "junkRuns", "truncatedBytes"};

}  // namespace

std::span<const Counter> ownCounters(const Stream& stream, const File& file) {
  const std::span<const Counter> all = stream.counters();
  return all.first(all.size() - file.damage().counters().size());
}

std::string damageText(std::span<const Counter> counters) {
  std::string text;
  for (const Counter& counter : counters) {
    if (counter.count == 0 || std::ranges::find(kDamageCounters, counter.name) == std::end(kDamageCounters)) continue;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", counter.name, counter.count);
  }
  return text.empty() ? "none" : text;
}

}  // namespace Kvex::Tool
