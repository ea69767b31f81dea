#include <fmt/format.h>
#include <memory>
#include <optional>

#include "tool/Commands.h"
#include "tool/Messages.h"
#include "tool/OpenedFile.h"
#include "tool/Seconds.h"
#include "tool/Text.h"
#include "tool/TimeOption.h"
#include "tool/WriteCommand.h"

namespace Kvex::Tool {

namespace {

struct CutCommandOptions {
  std::string file;
  WriteTarget target;
  TypedSpan span;
  std::optional<double> lead;
  std::vector<std::uint32_t> streams;
};

void tellReport(const CutReport& report, const std::string& path) {
  for (const CutStream& stream : report.streams) {
    if (stream.lostSignals.empty()) continue;
    constexpr std::size_t kShown = 10;
    std::string names;
    for (std::size_t i = 0; i < stream.lostSignals.size() && i < kShown; ++i) {
      names += (i > 0 ? ", " : "") + stream.lostSignals[i];
    }
    if (stream.lostSignals.size() > kShown) names += fmt::format(" and {} more", stream.lostSignals.size() - kShown);
    say("vrel: note: stream {}: known at the start, but sent only before the cut begins ({:.1f} s ahead): {}; --lead "
        "takes more",
        stream.id, secondsBetween(0, stream.lead), printable(names));
  }
  for (const std::string& note : report.notes) say("vrel: warning: \"{}\": {}", printable(path), printable(note));
}

VrelExit cutFile(const CutCommandOptions& options) {
  WatchedWriting writing(options.target);
  OpenedFile opened(options.file);
  const ChosenSpan span = opened.file.gridSpan(options.span);
  tellNotes(opened.file, span);
  CutOptions how;
  writing.applyTo(how);
  how.start = span.start;
  how.end = span.end;
  if (options.lead) how.lead = static_cast<Nano>(*options.lead * static_cast<double>(kNanosPerSecond));
  how.streams = options.streams;
  const CutReport report = opened.file.cut(options.target.output, how);
  writing.done();
  tellReport(report, options.file);
  return report.damaged ? VrelExit::Damaged : VrelExit::Good;
}

}  // namespace

void addCutCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CutCommandOptions>();
  CLI::App* command = addFileCommand(app, "cut", "Take a span out of a recording or bare file", options->file);
  addTimeOption(*command, "--start", options->span.start, "First time (default: the file's start)");
  addTimeOption(*command, "--end", options->span.end, "Time before which the span ends (default: the file's end)");
  addWriteTarget(*command, options->target);
  constexpr double kMostLead = 1e9;
  command
      ->add_option(
          "--lead", options->lead,
          "Begin each stream this many seconds ahead of the start (default: as far ahead as its slowest status "
          "needs, at most 60)")
      ->type_name("S")
      ->check(CLI::Range(0.0, kMostLead).description(""));
  command->add_option("--streams", options->streams, "The streams to take, with commas between them; else all")
      ->type_name("LIST")
      ->delimiter(',')
      ->allow_extra_args(false);
  command->footer(
      "Packets are copied byte for byte. All headers stay, and with them the CAN database. Each stream begins early\n"
      "enough that what was known at the start is known in the cut; what was sent only before is lost, and the\n"
      "signals are named. Exporting the span from the cut gives the same rows as from FILE, but for signals that\n"
      "depend on all packets since the start, such as distances and counters: docs/cut.md names them. A span from\n"
      "which the times of a stream cannot be known is refused.\n\n" +
      std::string(kTimeHelp) + "\n\nExample:\n  vrel cut run.vrel --start +10:00 --end +11:00 -o brake.vrel");
  command->callback([options, &action] { action = [options] { return cutFile(*options); }; });
}

}  // namespace Kvex::Tool
