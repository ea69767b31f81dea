#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

#include "support/Command.h"
#include "support/Golden.h"

namespace Kvex {

namespace {

using Support::contentsOf;
using Support::dataPath;
using Support::runCommand;
using Support::scratchPath;

struct CommandLine {
  const char* fault;  ///< What the case guards against.
  std::string arguments;
  int exitCode;
  const char* output;  ///< Stands in standard output.
  const char* errors;  ///< Stands in standard error.
};

TEST(VrelTest, AnswersEachCommandLine) {
  const std::string plain = dataPath("zint_plain_11.vrel");
  const std::string whole = contentsOf(plain);
  const std::string cut = scratchPath("short.vrel");
  std::ofstream(cut, std::ios::binary) << whole.substr(0, whole.size() - 1000);
  const CommandLine lines[] = {
      {"no subcommand", "", 2, "", "SUBCOMMAND"},
      {"unknown subcommand", "look " + plain, 2, "", "look"},
      {"help is a result", "export --help", 0, "Example", ""},
      {"missing file", "info none.vrel", 1, "", "none.vrel"},
      {"unknown kind of file", "info " + dataPath("zint_plain_11.info.json"), 1, "", "zint_plain_11.info.json"},
      {"a sound file", "check " + plain, 0, "Nothing was lost", ""},
      {"a file cut short", "check " + cut, 3, "end", ""},
      {"the table of streams", "info " + plain, 0, "1417651425000000000", ""},
      {"a misspelt signal", "export " + plain + " --signal GnssInt1_Altitud", 1, "", "GnssInt1_Altitude"},
      {"a period of nothing", "export " + plain + " --period 0", 2, "", "period"},
      {"a time that is none", "export " + plain + " --start yesterday", 2, "", "start"},
      {"a stream that is none", "export " + plain + " --stream 9", 1, "", "9"},
      {"the wide header has units", "export " + plain + " --signal GnssInt1_Altitude --period 100", 0,
       "time,GnssInt1_Altitude [", ""},
      {"values in long form", "export " + plain + " --signal GnssInt1_Altitude --long --period 100", 0,
       "1417651425000000000,0,GnssInt1_Altitude,0,1417651425000000000,118.484215\n", ""},
      {"lines of JSON", "export " + plain + " --signal GnssInt1_Altitude --format ndjson --period 100", 0,
       "\"GnssInt1_Altitude [m]\":118.484215", ""},
      {"UTC and seconds from the start", "export " + plain + " --start +1.5 --end +2 --time utc --signal Nano", 0,
       "2024-12-08T00:03:28.500000000Z", ""},
      {"a full disk", "export " + plain + " -o /dev/full", 1, "", "/dev/full"},
      {"signals of a kind", "signals " + plain + " --match 'Gnss*Alt*'", 0, "GnssInt1_Altitude", ""},
      {"an unknown demonstration stream", "synth " + scratchPath("x.vrel") + " --streams cheese", 2, "", "cheese"},
  };
  for (const CommandLine& line : lines) {
    SCOPED_TRACE(line.fault);
    const auto result = runCommand("vrel", line.arguments);
    EXPECT_EQ(result.exitCode, line.exitCode);
    EXPECT_NE(result.output.find(line.output), std::string::npos) << result.output;
    EXPECT_NE(result.errors.find(line.errors), std::string::npos) << result.errors;
  }
}

TEST(VrelTest, JsonOfHostileFilesParses) {
  for (const std::string name :
       {"zint_wild_11.vrel", "can_fd_11.vrel", "range_file_11.yeld", "dask_mode_mix_11.dask"}) {
    SCOPED_TRACE(name);
    for (const std::string command : {"info", "signals", "check"}) {
      const auto result = runCommand("vrel", command + " --json " + dataPath(name));
      EXPECT_TRUE(nlohmann::json::accept(result.output)) << command;
    }
  }
}

TEST(VrelTest, BareDemonstrationsAreWhole) {
  for (const std::string extension : {".quon", ".dask", ".yeld"}) {
    SCOPED_TRACE(extension);
    const std::string demo = scratchPath("demo" + extension);
    ASSERT_EQ(runCommand("vrel", "synth " + demo + " --seconds 4").exitCode, 0);
    EXPECT_EQ(runCommand("vrel", "check " + demo).exitCode, 0);
    const auto info = nlohmann::json::parse(runCommand("vrel", "info --json " + demo).output);
    for (const auto& stream : info["streams"]) EXPECT_TRUE(stream["hasTime"]) << stream["codec"];
  }
}

TEST(VrelTest, ADemonstrationIsWholeAndConverts) {
  const std::string demo = scratchPath("demo.vrel");
  ASSERT_EQ(runCommand("vrel", "synth " + demo + " --seconds 3").exitCode, 0);
  EXPECT_EQ(runCommand("vrel", "check " + demo).exitCode, 0);
  const auto info = nlohmann::json::parse(runCommand("vrel", "info --json " + demo).output);
  for (const auto& stream : info["streams"]) EXPECT_TRUE(stream["hasTime"]) << stream["codec"];
  EXPECT_EQ(runCommand("vrel2fix", demo + " " + scratchPath("demo.txt") + " 1").exitCode, 0);
  EXPECT_FALSE(contentsOf(scratchPath("demo.txt")).empty());
}

TEST(VrelTest, AFailedExportLeavesNoFile) {
  const std::string cut = scratchPath("cut.vrel");
  std::ofstream(cut, std::ios::binary) << "OggS";
  const std::string output = scratchPath("cut.csv");
  EXPECT_EQ(runCommand("vrel", "export " + cut + " -o " + output).exitCode, 1);
  EXPECT_FALSE(std::filesystem::exists(output));
}

}  // namespace

}  // namespace Kvex
