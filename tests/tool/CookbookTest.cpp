// The commands of the cookbook do what they are there for.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

#include "support/Command.h"

namespace Kvex {

namespace {

namespace fs = std::filesystem;
using Support::contentsOf;
using Support::runCommand;

/// The commands of all blocks of a page.
std::vector<std::string> commandsOf(const std::string& page) {
  std::vector<std::string> commands;
  std::istringstream lines(page);
  bool inBlock = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```")) {
      inBlock = line == "```sh";
    } else if (inBlock) {
      commands.push_back(line);
    }
  }
  return commands;
}

/// The words behind "-o" in a command.
std::string outputOf(const std::string& command) {
  const std::size_t at = command.find(" -o ");
  return at == std::string::npos ? "" : command.substr(at + 4);
}

TEST(CookbookTest, EveryCommandWorks) {
  const fs::path folder = Support::scratchPath("cookbook");
  fs::remove_all(folder);
  fs::create_directories(folder / "runs");
  const std::string run = (folder / "run.vrel").string();
  ASSERT_EQ(runCommand("vrel", "synth " + run).exitCode, 0);
  const std::string copies[] = {"monday.vrel", "tuesday.vrel", "runs/1.vrel", "runs/2.vrel"};
  for (const std::string& copy : copies) fs::copy_file(run, folder / copy);
  ASSERT_EQ(runCommand("vrel", "synth " + (folder / "long.vrel").string() + " --seconds 200 --streams quon,can,zint")
                .exitCode,
            0);
  const std::vector<std::string> commands = commandsOf(contentsOf(KVEX_PAGES "/cookbook.md"));
  ASSERT_GT(commands.size(), 20U);
  for (const std::string& command : commands) {
    SCOPED_TRACE(command);
    ASSERT_TRUE(command.starts_with("vrel "));
    const auto result = runCommand(
        "vrel", "--version >/dev/null && cd " + folder.string() + " && PATH=" KVEX_BIN ":$PATH && " + command);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    const std::string output = outputOf(command);
    if (output.empty()) {
      EXPECT_NE(result.output, "");
      continue;
    }
    const fs::path made = folder / output;
    if (output.ends_with('/')) {
      EXPECT_GT(std::distance(fs::directory_iterator(made), fs::directory_iterator()), 1);
    } else {
      const std::string table = contentsOf(made.string());
      EXPECT_GT(std::ranges::count(table, '\n'), 1);
      const bool isPage = output.ends_with(".html");  // With a script in it.
      EXPECT_TRUE(isPage || table.find("nan") == std::string::npos);
    }
  }
}

}  // namespace

}  // namespace Kvex
