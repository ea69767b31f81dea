#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <spawn.h>

#include "tool/Commands.h"
#include "tool/Interrupt.h"
#include "tool/Messages.h"
#include "tool/Output.h"
#include "tool/ProgressBar.h"
#include "tool/Text.h"
#include "tool/ViewServer.h"

namespace Kvex::Tool {

namespace {

struct ViewOptions {
  std::vector<std::string> files;
  int port = 0;
  bool noBrowser = false;
};

/// Asks the desktop to open an address. Where there is none, a person opens it.
void openBrowser(const std::string& address) {
  std::string program = "xdg-open";
  std::string argument = address;
  char* const arguments[] = {program.data(), argument.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int descriptor : {0, 1, 2}) {
    posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
  }
  pid_t child = 0;
  (void)::posix_spawnp(&child, program.c_str(), &actions, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
}

VrelExit view(const ViewOptions& options) {
  const StopOnInterrupt stop;
  std::vector<std::unique_ptr<ViewedFile>> files;
  {
    ProgressBar progress;
    for (const std::string& path : options.files) {
      const OpenOptions opening{.progress = progress.callback(), .stop = stop.token()};
      files.push_back(std::make_unique<ViewedFile>(path, opening));
    }
  }
  ViewServer server(std::move(files), options.port);
  Output output;
  output.write(server.address() + '\n');
  output.finish();
  if (!options.noBrowser) openBrowser(server.address());
  server.run(stop.token());
  return VrelExit::Good;
}

constexpr const char* kViewHelp =
    "Prints the address of a page on this machine, and serves it until Ctrl-C: signals to search and to lay into "
    "plots,\n"
    "which share time, zoom and cursor; the track beside them; what is seen as CSV. What is shown stands in the\n"
    "address, which can be kept as a bookmark. Several FILEs are shown side by side from their starts.\n\n"
    "Nobody else can ask for the page: it is served on 127.0.0.1 only, and needs the token of the address.";

constexpr const char* kExample =
    "Example:\n"
    "  vrel view monday.vrel tuesday.vrel --port 8080";

}  // namespace

void addViewCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<ViewOptions>();
  CLI::App* command = addFilesCommand(app, "view", "Look into recordings in the browser", options->files);
  command->add_option("--port", options->port, "The port to listen on; else any that is free")
      ->type_name("N")
      ->check(CLI::Range(1, 65535).description(""));
  command->add_flag("--no-browser", options->noBrowser, "Print the address and open nothing");
  command->footer(fmt::format("{}\n\n{}", kViewHelp, kExample));
  command->callback([options, &action] { action = [options] { return view(*options); }; });
}

}  // namespace Kvex::Tool
