#include "tool/Counters.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <vector>

#include "tool/Seconds.h"

namespace Kvex::Tool {

namespace {

constexpr std::string_view kDamageCounters[] = {"pagesRejected", "pagesLost", "holes"};

}  // namespace

std::span<const Counter> ownCounters(const Stream& stream, const File& file) {
  const std::span<const Counter> all = stream.counters();
  return all.first(all.size() - file.damage().counters().size());
}

std::string streamDamageText(const Stream& stream, const File& file) {
  std::vector<std::string> parts;
  const Nano lost = file.damage().timeLost(stream.id());
  if (lost > 0) parts.push_back(fmt::format("{} s of data lost", secondsText(lost)));
  for (const Counter& counter : ownCounters(stream, file)) {
    const bool means = std::ranges::find(kDamageCounters, counter.name) != std::end(kDamageCounters);
    if (means && counter.count > 0) parts.push_back(fmt::format("{} {}", counter.name, counter.count));
  }
  const bool open = std::ranges::any_of(file.damage().places(), [&](const Place& place) {
    return place.kind == DamageKind::EndMissing && place.stream == stream.id();
  });
  if (open) parts.emplace_back("no end page");
  return parts.empty() ? "none" : fmt::format("{}", fmt::join(parts, ", "));
}

}  // namespace Kvex::Tool
