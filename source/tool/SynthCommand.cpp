#include <algorithm>
#include <fmt/format.h>
#include <kvex/Time.h>
#include <memory>
#include <ostream>

#include "synth/DemoRecording.h"
#include "tool/Commands.h"
#include "tool/Completion.h"
#include "tool/Interrupt.h"
#include "tool/Output.h"
#include "tool/ProgressBar.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

struct SynthOptions {
  std::string output;
  std::uint32_t seconds = 60;
  std::uint64_t seed = 1;
  std::vector<std::string> streams;
  bool force = false;
};

/// The protocols with these names; all of them without any.
std::vector<const Synth::DemoProtocol*> chooseProtocols(const std::vector<std::string>& names) {
  std::vector<const Synth::DemoProtocol*> chosen;
  for (const Synth::DemoProtocol& protocol : Synth::demoProtocols()) {
    if (names.empty() || std::ranges::find(names, protocol.name) != names.end()) chosen.push_back(&protocol);
  }
  return chosen;
}

void writeBare(std::ostream& stream, const Synth::BarePackets& nextPacket) {
  for (auto packet = nextPacket(); !packet.empty(); packet = nextPacket()) {
    if (interrupted()) throw Interrupted();
    stream.write(reinterpret_cast<const char*>(packet.data()), static_cast<std::streamsize>(packet.size()));
  }
}

void writeRecording(std::ostream& stream, const SynthOptions& options) {
  Synth::DemoRecording demo(stream, chooseProtocols(options.streams), options.seed);
  ProgressBar progress;
  const std::uint64_t steps = std::uint64_t{options.seconds} * (kNanosPerSecond / Synth::DemoRecording::kStep);
  for (std::uint64_t step = 0; step < steps; ++step) {
    if (interrupted()) throw Interrupted();
    demo.writeStep();
    progress.show("Writing", static_cast<double>(step) / static_cast<double>(steps));
  }
  demo.end();
}

VrelExit writeDemo(const SynthOptions& options) {
  const Nano length = Nano{options.seconds} * kNanosPerSecond;
  const auto barePackets = Synth::bareDemo(lowerExtension(options.output), options.seed, length);
  if (barePackets && !options.streams.empty()) {
    throw Failure("--streams is for recordings; the ending of a bare file names its protocol", VrelExit::WrongUsage);
  }
  Output output(options.output, {.force = options.force});
  OutputStreambuf streambuf(output);
  std::ostream stream(&streambuf);
  stream.exceptions(std::ios::badbit);  // lets the output's own failures through
  barePackets ? writeBare(stream, barePackets) : writeRecording(stream, options);
  output.finish();
  return VrelExit::Good;
}

}  // namespace

void addSynthCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<SynthOptions>();
  CLI::App* command = app.add_subcommand("synth", "Write a demonstration recording of a drive");
  command
      ->add_option("OUT", options->output,
                   "The file to write: a recording (.vrel), or a bare file of navigation (.quon, .dask) or range "
                   "packets (.yeld)")
      ->required()
      ->type_name("")
      ->check(
          [](const std::string& path) {
            const std::string extension = lowerExtension(path);
            const bool known = extension == ".vrel" || Synth::bareDemo(extension, 1, 0) != nullptr;
            return known ? "" : "the name of the file must end in .vrel, .quon, .dask or .yeld";
          },
          "");
  command->add_option("--seconds", options->seconds, "Length of the drive (default 60)")
      ->type_name("N")
      ->check(CLI::Range(1U, 10'000'000U).description(""));
  command->add_option("--seed", options->seed, "Another seed makes another drive (default 1)")->type_name("N");
  std::vector<std::string> names;
  std::string descriptions;
  for (const Synth::DemoProtocol& protocol : Synth::demoProtocols()) {
    names.emplace_back(protocol.name);
    descriptions += fmt::format("  {:<6}{}\n", protocol.name, protocol.description);
  }
  command->add_option("--streams", options->streams, "The protocols to write, with commas between them; else all")
      ->type_name("LIST")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(oneOf(names));
  addForceOption(*command, options->force);
  command->footer("Protocols:\n" + descriptions +
                  "\nThe same options give the same bytes.\n\n"
                  "Example:\n  vrel synth demo.vrel --seconds 20");
  command->callback([options, &action] { action = [options] { return writeDemo(*options); }; });
}

}  // namespace Kvex::Tool
