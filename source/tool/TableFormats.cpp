#include "tool/TableFormats.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>

#include "tool/Failure.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

namespace fs = std::filesystem;

constexpr NamedFormat kFormats[] = {
    {"csv", {".csv"}, TableFormat::Csv},
    {"tsv", {".tsv"}, TableFormat::Csv, '\t'},
    {"json", {".json"}, TableFormat::Json},
    {"ndjson", {".ndjson", ".jsonl"}, TableFormat::Ndjson},
};

std::string allEndings() {
  std::string text;
  for (const NamedFormat& format : kFormats) {
    for (const std::string_view ending : format.endings) {
      if (!ending.empty()) text.append(text.empty() ? "" : ", ").append(ending);
    }
  }
  return text;
}

}  // namespace

std::vector<std::string> formatNames() {
  std::vector<std::string> names;
  for (const NamedFormat& format : kFormats) names.emplace_back(format.name);
  return names;
}

const NamedFormat& formatNamed(std::string_view name) {
  return *std::ranges::find(kFormats, name, &NamedFormat::name);
}

const NamedFormat& formatOfOutput(const std::string& path) {
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  const std::string ending = lowerExtension(fs::path(path).filename().extension().string());
  if (ending.empty() || (fs::exists(status) && !fs::is_regular_file(status))) return kFormats[0];
  const auto claims = [&](const NamedFormat& format) {
    return std::ranges::find(format.endings, ending) != std::end(format.endings);
  };
  const auto* const found = std::ranges::find_if(kFormats, claims);
  if (found == std::end(kFormats)) {
    throw Failure(fmt::format("no table ends in \"{}\": the endings are {}, and --format chooses for any name",
                              printable(ending), allEndings()),
                  VrelExit::WrongUsage);
  }
  return *found;
}

}  // namespace Kvex::Tool
