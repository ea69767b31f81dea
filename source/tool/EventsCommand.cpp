#include <fmt/format.h>
#include <memory>
#include <string_view>

#include "tool/Commands.h"
#include "tool/Completion.h"
#include "tool/EventsTable.h"
#include "tool/JsonArray.h"
#include "tool/Messages.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/Text.h"
#include "tool/TimeOption.h"

namespace Kvex::Tool {

namespace {

struct EventsOptions {
  std::string file;
  std::vector<std::string> kinds;
  std::vector<std::uint32_t> streams;
  TypedSpan span;
  bool json = false;
};

std::vector<std::string> kindNames() {
  const std::vector<std::string_view> names = eventKindNames();
  return {names.begin(), names.end()};
}

VrelExit showEvents(const EventsOptions& options) {
  OpenedFile opened(options.file);
  const ReadOptions watched = opened.watched();
  EventOptions wanted{.streams = options.streams, .progress = watched.progress, .stop = watched.stop};
  for (const std::string& name : options.kinds) wanted.kinds.push_back(*eventKind(name));
  const Nano fileStart = opened.file.hasTime() ? opened.file.span().start : kNoTime;
  if (options.span.start || options.span.end) {
    const ChosenSpan span = opened.file.gridSpan(options.span);
    tellNotes(opened.file, span);
    wanted.start = span.start;
    wanted.end = span.end;
  }
  const Events events = opened.file.events(wanted);
  opened.progress.clear();
  Output output;
  if (options.json) {
    writeJsonArray(output, events.list, [&](const Event& event) { return eventJson(event, fileStart); });
  } else {
    output.write(eventsTable(events.list, fileStart));
  }
  output.finish();
  if (events.inAll > events.list.size()) {
    say("vrel: note: the first {} of {} events; --start, --kind and --stream choose others", events.list.size(),
        events.inAll);
  }
  opened.tellJudgement();
  return opened.exit();
}

constexpr const char* kEventsHelp =
    "Kinds:\n"
    "  trigger  an edge at a trigger input of a navigation unit, at the edge's own time\n"
    "  wheel    the pulses of the wheel speed sensor start or stop\n"
    "  mode     a navigation unit goes to another navigation, position, velocity or attitude mode\n"
    "  target   a target of a range unit goes to another state\n"
    "  gap      no packet of a stream for more than five of its periods\n"
    "  damage   a place where data is damaged or lost, as \"vrel check\" tells it\n\n"
    "Events come in order of time, with UTC and seconds from the file's start. In JSON \"time\" and \"record\" are "
    "GPS\n"
    "nanoseconds; \"record\" is the record that shows the event: of a gap the packet behind it.";

constexpr const char* kExample =
    "Example:\n"
    "  vrel events run.vrel --kind trigger --start +3m";

}  // namespace

void addEventsCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<EventsOptions>();
  CLI::App* command = addFileCommand(app, "events", "Show what happened during a recording, and when", options->file);
  command->add_option("--kind", options->kinds, "Only events of this kind; may be a list or given several times")
      ->type_name("KIND")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(oneOf(kindNames()));
  command->add_option("--stream", options->streams, "Only this stream; may be a list or given several times")
      ->type_name("ID")
      ->delimiter(',')
      ->allow_extra_args(false);
  addTimeOption(*command, "--start", options->span.start, "Only events from this time on");
  addTimeOption(*command, "--end", options->span.end, "Only events before this time");
  command->add_flag("--json", options->json, "Write a JSON array, one event on a line");
  command->footer(fmt::format("{}\n\n{}\n\n{}", kEventsHelp, kTimeHelp, kExample));
  command->callback([options, &action] { action = [options] { return showEvents(*options); }; });
}

}  // namespace Kvex::Tool
