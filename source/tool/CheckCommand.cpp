#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <optional>

#include "library/Enumerations.h"
#include "tool/Commands.h"
#include "tool/Counters.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;
using Sto::Damage;
using Sto::DamageKind;

struct CheckOptions {
  std::string file;
  bool json = false;
};

/// Places that are told one by one; of further ones only their number.
constexpr std::size_t kMaxPlacesShown = 20;

std::string_view kindName(DamageKind kind) {
  switch (kind) {
    case DamageKind::HeaderIncomplete:
      return "headerIncomplete";
    case DamageKind::PagesMissing:
      return "pagesMissing";
    case DamageKind::PagesLate:
      return "pagesLate";
    case DamageKind::PagesTwice:
      return "pagesTwice";
    case DamageKind::PacketsDropped:
      return "packetsDropped";
    case DamageKind::StructureBroken:
      return "structureBroken";
    case DamageKind::JunkBytes:
      return "junkBytes";
    case DamageKind::CutOff:
      return "cutOff";
    default:
      return "endMissing";
  }
}

std::string verb(std::uint64_t count, std::string_view one, std::string_view more) {
  return std::string(count == 1 ? one : more);
}

/// What a file's damage means, in words.
class DamageTeller {
 public:
  DamageTeller(const OpenedFile& file, bool isRecording) : file_(file), unit_(isRecording ? "page" : "packet") {}

  std::string tell(const Damage& damage) const {
    const std::string pages = counted(damage.count, "page");
    const std::string of = damage.stream == nullptr ? "" : fmt::format("stream {}", damage.stream->entry.index);
    const std::string were = verb(damage.count, "was", "were");
    switch (damage.kind) {
      case DamageKind::HeaderIncomplete:
        return fmt::format("the header of {} is incomplete, so that nothing of it can be read", of);
      case DamageKind::PagesMissing:
        return fmt::format("{} of {} {} missing{}", pages, of, verb(damage.count, "is", "are"), near(damage));
      case DamageKind::PagesLate:
        return fmt::format("{} of {} came too late and {} dropped{}", pages, of, were, near(damage));
      case DamageKind::PagesTwice:
        return fmt::format("{} of {} came twice{}, which loses nothing", pages, of, near(damage));
      case DamageKind::PacketsDropped:
        return fmt::format("a packet of {} was larger than any record and was dropped{}", of, near(damage));
      case DamageKind::StructureBroken:
        return fmt::format("the pages of {} are out of order{}: nothing of it is read from there on", of, near(damage));
      case DamageKind::JunkBytes:
        return fmt::format("{} {} to no good {}{}", counted(damage.count, "byte"),
                           verb(damage.count, "belongs", "belong"), unit_, near(damage));
      case DamageKind::CutOff:
        return fmt::format("the file ends within a {}, of which {} {} there", unit_, counted(damage.count, "byte"),
                           verb(damage.count, "is", "are"));
      default:
        return fmt::format("{} has no end page: the recording was not closed, or its end is missing", of);
    }
  }

 private:
  /// ", near 12.4 s": seconds from the start of the file.
  std::string near(const Damage& damage) const {
    if (!file_.hasTime) return "";
    if (damage.time <= file_.start) return ", near the start";
    if (damage.time >= file_.end) return ", near the end";
    return fmt::format(", near {:.1f} s", static_cast<double>(damage.time - file_.start) * 1e-9);
  }

  const OpenedFile& file_;
  std::string_view unit_;
};

struct StreamReport {
  std::int32_t id;
  std::uint32_t serial;
  std::string codec;
  std::string name;
  std::vector<NamedCount> counters;
};

struct PlaceReport {
  DamageKind kind;
  std::uint64_t count;
  std::optional<std::int32_t> streamId;
  std::optional<Lib::Nano> time;
  std::string text;
};

/// All that is told about a file.
struct Report {
  std::string path;
  std::uint64_t size = 0;
  std::vector<NamedCount> counters;  ///< Of the file as a whole.
  std::vector<StreamReport> streams;
  std::vector<PlaceReport> places;
  std::uint64_t placesInAll = 0;
  std::vector<std::string> notes;  ///< What is no damage, but worth knowing.
  bool lost = false;
};

void addStream(Report& report, const Sto::Stream& stream, const Sto::Resource& resource) {
  report.streams.push_back({stream.entry.index, stream.serial(),
                            std::string(Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(stream.codec()))),
                            stream.entry.name, streamCounters(stream, resource)});
  if (stream.headerSeen() && !stream.headerAccepted()) {
    report.notes.push_back(fmt::format("the header of stream {} does not define its signals", stream.entry.index));
  } else if (stream.headerAccepted() && !stream.hasTime()) {
    report.notes.push_back(fmt::format("stream {} has no time, so that its values cannot be read", stream.entry.index));
  }
}

void addDamage(Report& report, const OpenedFile& file, const Sto::Resource& resource) {
  report.counters = fileCounters(resource);
  report.placesInAll = resource.damage.total();
  report.lost = resource.damage.lossy();
  const DamageTeller teller(file, resource.kind == Sto::ResourceKind::Recording);
  for (const Damage& damage : resource.damage.places()) {
    PlaceReport& place =
        report.places.emplace_back(PlaceReport{damage.kind, damage.count, {}, {}, teller.tell(damage)});
    if (damage.stream != nullptr) place.streamId = damage.stream->entry.index;
    if (damage.time != Lib::kNoTime) place.time = damage.time;
  }
}

/// One line on what the damage means for the data.
std::string verdictOn(const Report& report) {
  if (!report.lost) return "Nothing was lost.";
  std::string text = "Data was lost";
  // Missing pages say most about the data.
  auto first = std::ranges::find(report.places, DamageKind::PagesMissing, &PlaceReport::kind);
  if (first == report.places.end()) first = std::ranges::find_if(report.places, Sto::losesData, &PlaceReport::kind);
  if (first != report.places.end()) text += ": " + first->text;
  if (report.placesInAll > 1) text += fmt::format("; {} in all", counted(report.placesInAll, "damaged place"));
  return text + '.';
}

Json countersJson(const std::vector<NamedCount>& counters) {
  Json json = Json::object();
  for (const auto& [name, count] : counters) json[std::string(name)] = count;
  return json;
}

template <class Value>
Json optionalJson(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

std::string reportJson(const Report& report) {
  Json streams = Json::array();
  for (const StreamReport& stream : report.streams) {
    streams.push_back({{"id", stream.id},
                       {"serial", stream.serial},
                       {"codec", stream.codec},
                       {"name", stream.name},
                       {"counters", countersJson(stream.counters)}});
  }
  Json places = Json::array();
  for (const PlaceReport& place : report.places) {
    places.push_back({{"kind", kindName(place.kind)},
                      {"stream", optionalJson(place.streamId)},
                      {"count", place.count},
                      {"time", optionalJson(place.time)},
                      {"lost", losesData(place.kind)},
                      {"text", place.text}});
  }
  const Json all{{"file", report.path},
                 {"size", report.size},
                 {"lost", report.lost},
                 {"verdict", verdictOn(report)},
                 {"counters", countersJson(report.counters)},
                 {"streams", std::move(streams)},
                 {"placesInAll", report.placesInAll},
                 {"places", std::move(places)},
                 {"notes", report.notes}};
  return jsonText(all, 2) + '\n';
}

std::string streamsText(const Report& report) {
  TextTable table;
  for (const StreamReport& stream : report.streams) {
    std::vector<std::string> names{"stream", "codec"};
    std::vector<std::string> cells{std::to_string(stream.id), stream.codec};
    for (const auto& [name, count] : stream.counters) {
      names.emplace_back(name);
      cells.push_back(std::to_string(count));
    }
    if (&stream == &report.streams.front()) table.addRow(std::move(names));
    table.addRow(std::move(cells));
  }
  return table.text();
}

std::string reportText(const Report& report) {
  TextTable about;
  about.addRow({"file", report.path});
  about.addRow({"size", counted(report.size, "byte")});
  for (const auto& [name, count] : report.counters) about.addRow({std::string(name), std::to_string(count)});
  std::string text = about.text() + '\n' + streamsText(report) + '\n';
  const std::size_t shown = std::min(report.places.size(), kMaxPlacesShown);
  for (std::size_t i = 0; i < shown; ++i) text += report.places[i].text + '\n';
  if (report.placesInAll > shown) text += fmt::format("and {}\n", counted(report.placesInAll - shown, "further place"));
  for (const std::string& note : report.notes) text += "note: " + note + '\n';
  return text + verdictOn(report) + '\n';
}

VrelExit checkFile(const CheckOptions& options) {
  const OpenedFile file(options.file);
  std::error_code ignored;
  Report report{.path = file.path, .size = std::filesystem::file_size(file.path, ignored)};
  file.forEachStream(
      [&](const Sto::Stream& stream, const Sto::Resource& resource) { addStream(report, stream, resource); });
  file.visitResource([&](const Sto::Resource& resource) { addDamage(report, file, resource); });
  Output output;
  output.write(options.json ? reportJson(report) : reportText(report));
  output.finish();
  return file.exit();
}

}  // namespace

void addCheckCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* command =
      addFileCommand(app, "check", "Read a whole file and tell whether data in it is damaged or lost", options->file);
  command->add_flag("--json", options->json, "Write JSON");
  command->footer(
      "The last line says what the damage means for the data; times in it are seconds from the file's start.\n"
      "The exit code is 0 if nothing was lost and 3 if something was.\n\n"
      "Example:\n  vrel check run.vrel && echo whole");
  command->callback([options, &action] { action = [options] { return checkFile(*options); }; });
}

}  // namespace Kvex::Tool
