#include <filesystem>
#include <fmt/format.h>
#include <memory>

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
    const std::string of = damage.stream == nullptr ? "" : fmt::format("stream {}", damage.stream->index);
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
        return fmt::format("{} {} to no good {}{}", counted(damage.count, "byte"), verb(damage.count, "belongs", "belong"),
                           unit_, near(damage));
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

struct Report {
  const Sto::Resource& resource;
  std::uint64_t size;
  std::vector<std::string> places;  ///< Of `resource.damage`, told.
  std::vector<std::string> notes;   ///< What is no damage, but worth knowing.
  std::string verdict;
};

/// One line on what the damage means for the data.
std::string verdictOn(const Report& report) {
  const Sto::DamageList& damage = report.resource.damage;
  if (!damage.lossy()) return "Nothing was lost.";
  std::string text = "Data was lost";
  for (std::size_t place = 0; place < report.places.size(); ++place) {
    if (!losesData(damage.places()[place].kind)) continue;
    text += ": " + report.places[place];
    break;
  }
  if (damage.total() > 1) text += fmt::format("; {} in all", counted(damage.total(), "damaged place"));
  return text + '.';
}

std::vector<std::string> notesOn(const OpenedFile& file) {
  std::vector<std::string> notes;
  file.forEachStream([&](const Sto::Stream& stream, const Sto::Resource&) {
    if (stream.headerSeen && !stream.headerAccepted) {
      notes.push_back(fmt::format("the header of stream {} does not define its signals", stream.index));
    } else if (stream.headerAccepted && !stream.hasTime) {
      notes.push_back(fmt::format("stream {} has no time, so that its values cannot be read", stream.index));
    }
  });
  return notes;
}

Report makeReport(const OpenedFile& file, const Sto::Resource& resource) {
  std::error_code ignored;
  Report report{resource, std::filesystem::file_size(file.path, ignored), {}, notesOn(file), {}};
  const DamageTeller teller(file, resource.kind == Sto::ResourceKind::Recording);
  for (const Damage& damage : resource.damage.places()) report.places.push_back(teller.tell(damage));
  report.verdict = verdictOn(report);
  return report;
}

Json countersJson(const std::vector<NamedCount>& counters) {
  Json json = Json::object();
  for (const auto& [name, count] : counters) json[std::string(name)] = count;
  return json;
}

std::string_view codecName(const Sto::Stream& stream) {
  return Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(stream.codec));
}

std::string reportJson(const OpenedFile& file, const Report& report) {
  Json streams = Json::array();
  file.forEachStream([&](const Sto::Stream& stream, const Sto::Resource& resource) {
    streams.push_back({{"id", stream.index},
                       {"serial", stream.serial},
                       {"codec", codecName(stream)},
                       {"name", stream.name},
                       {"counters", countersJson(streamCounters(stream, resource))}});
  });
  const Sto::DamageList& damage = report.resource.damage;
  Json places = Json::array();
  for (std::size_t i = 0; i < report.places.size(); ++i) {
    const Damage& place = damage.places()[i];
    const bool hasTime = place.time != Lib::kNoTime;
    places.push_back({{"kind", kindName(place.kind)},
                      {"stream", place.stream == nullptr ? Json() : Json(place.stream->index)},
                      {"count", place.count},
                      {"time", hasTime ? Json(place.time) : Json()},
                      {"lost", losesData(place.kind)},
                      {"text", report.places[i]}});
  }
  const Json all{{"file", file.path},
                 {"size", report.size},
                 {"lost", damage.lossy()},
                 {"verdict", report.verdict},
                 {"counters", countersJson(fileCounters(report.resource))},
                 {"streams", std::move(streams)},
                 {"placesInAll", damage.total()},
                 {"places", std::move(places)},
                 {"notes", report.notes}};
  return jsonText(all, 2) + '\n';
}

std::string reportText(const OpenedFile& file, const Report& report) {
  TextTable about;
  about.addRow({"file", file.path});
  about.addRow({"size", counted(report.size, "byte")});
  for (const auto& [name, count] : fileCounters(report.resource)) {
    about.addRow({std::string(name), std::to_string(count)});
  }
  TextTable streams;
  file.forEachStream([&](const Sto::Stream& stream, const Sto::Resource& resource) {
    const std::vector<NamedCount> counters = streamCounters(stream, resource);
    std::vector<std::string> names{"stream", "codec"};
    std::vector<std::string> cells{std::to_string(stream.index), std::string(codecName(stream))};
    for (const auto& [name, count] : counters) {
      names.emplace_back(name);
      cells.push_back(std::to_string(count));
    }
    if (stream.index == 0) streams.addRow(std::move(names));
    streams.addRow(std::move(cells));
  });
  std::string text = about.text() + '\n' + streams.text() + '\n';
  const std::size_t shown = std::min(report.places.size(), kMaxPlacesShown);
  for (std::size_t i = 0; i < shown; ++i) text += report.places[i] + '\n';
  const std::uint64_t hidden = report.resource.damage.total() - shown;
  if (hidden > 0) text += fmt::format("and {}\n", counted(hidden, "further place"));
  for (const std::string& note : report.notes) text += "Note: " + note + '\n';
  return text + report.verdict + '\n';
}

VrelExit checkFile(const CheckOptions& options) {
  const OpenedFile file(options.file);
  Output output;
  file.visitResource([&](const Sto::Resource& resource) {
    const Report report = makeReport(file, resource);
    output.write(options.json ? reportJson(file, report) : reportText(file, report));
  });
  output.finish();
  return file.exit();
}

}  // namespace

void addCheckCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* command = app.add_subcommand("check", "Read a whole file and tell whether data in it is damaged or lost");
  command->add_option("FILE", options->file, "The file to read")->required();
  command->add_flag("--json", options->json, "Write JSON");
  command->footer(
      "The last line says what the damage means for the data; times in it are seconds from the file's start.\n"
      "The exit code is 0 if nothing was lost and 3 if something was.\n\n"
      "Example:\n  vrel check run.vrel && echo whole");
  command->callback([options, &action] { action = [options] { return checkFile(*options); }; });
}

}  // namespace Kvex::Tool
