#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <span>

#include "tool/Commands.h"
#include "tool/Counters.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

struct CheckOptions {
  std::string file;
  bool json = false;
};

/// Places that are shown one by one; of further ones only their number.
constexpr std::size_t kMaxPlacesShown = 20;

std::uint64_t sizeOf(const File& file) {
  std::error_code ignored;
  return std::filesystem::file_size(file.path(), ignored);
}

Json countersJson(std::span<const Counter> counters) {
  Json json = Json::object();
  for (const Counter& counter : counters) json[counter.name] = counter.count;
  return json;
}

Json placeJson(const Place& place) {
  return {{"kind", nameOf(place.kind)}, {"stream", place.stream ? Json(*place.stream) : Json()},
          {"count", place.count},       {"time", place.from != kNoTime ? Json(place.from) : Json()},
          {"lost", place.lost},         {"text", place.text}};
}

std::string reportJson(const File& file) {
  Json streams = Json::array();
  for (const Stream& stream : file.streams()) {
    streams.push_back({{"id", stream.id()},
                       {"serial", stream.serial()},
                       {"codec", stream.codec()},
                       {"name", stream.name()},
                       {"counters", countersJson(ownCounters(stream, file))}});
  }
  const Damage& damage = file.damage();
  Json places = Json::array();
  for (const Place& place : damage.places()) places.push_back(placeJson(place));
  const Json all{{"file", file.path()},
                 {"size", sizeOf(file)},
                 {"lost", damage.lost()},
                 {"verdict", damage.sentence()},
                 {"counters", countersJson(damage.counters())},
                 {"streams", std::move(streams)},
                 {"placesInAll", damage.placesInAll()},
                 {"places", std::move(places)},
                 {"notes", damage.notes()}};
  return jsonText(all, 2) + '\n';
}

std::string streamsText(const File& file) {
  TextTable table;
  for (const Stream& stream : file.streams()) {
    std::vector<std::string> names{"stream", "codec"};
    std::vector<std::string> cells{std::to_string(stream.id()), std::string(stream.codec())};
    for (const Counter& counter : ownCounters(stream, file)) {
      names.push_back(counter.name);
      cells.push_back(std::to_string(counter.count));
    }
    if (&stream == &file.streams().front()) table.addRow(std::move(names));
    table.addRow(std::move(cells));
  }
  return table.text();
}

std::string placesText(const Damage& damage) {
  std::string text;
  const std::size_t shown = std::min(damage.places().size(), kMaxPlacesShown);
  for (std::size_t i = 0; i < shown; ++i) text += damage.places()[i].text + '\n';
  if (damage.placesInAll() > shown) {
    text += fmt::format("and {}\n", counted(damage.placesInAll() - shown, "further place"));
  }
  return text;
}

std::string reportText(const File& file) {
  const Damage& damage = file.damage();
  TextTable about;
  about.addRow({"file", file.path()});
  about.addRow({"size", counted(sizeOf(file), "byte")});
  for (const Counter& counter : damage.counters()) about.addRow({counter.name, std::to_string(counter.count)});
  std::string text = about.text() + '\n' + streamsText(file) + '\n' + placesText(damage);
  for (const std::string& note : damage.notes()) text += "note: " + note + '\n';
  return text + damage.sentence() + '\n';
}

VrelExit checkFile(const CheckOptions& options) {
  const OpenedFile opened(options.file);
  Output output;
  output.write(options.json ? reportJson(opened.file) : reportText(opened.file));
  output.finish();
  return opened.exit();
}

}  // namespace

void addCheckCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* command =
      addFileCommand(app, "check", "Read a whole file and report whether data in it is damaged or lost", options->file);
  command->add_flag("--json", options->json, "Write JSON");
  command->footer(
      "The last line says what the damage means for the data; times in it are seconds from the file's start.\n"
      "The exit code is 0 if nothing was lost and 3 if something was.\n\n"
      "Example:\n  vrel check run.vrel && echo whole");
  command->callback([options, &action] { action = [options] { return checkFile(*options); }; });
}

}  // namespace Kvex::Tool
