#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "support/Command.h"
#include "support/Golden.h"

namespace Kvex {

namespace {

using Support::contentsOf;
using Support::dataPath;
using Support::runCommand;
using Support::scratchPath;

constexpr const char* kBanner =
    "------------------KVEX MEASUREMENT INSTRUMENTS GROUP------------------\n"
    "| vrel2fix Conversion Utility                                        |\n"
    "| Version ID 01.00.00, Development ID 231014.14zg                   |\n"
    "----------------------------------------------------------------------\n";
constexpr const char* kUsage =
    "\nUsage: \n\n   vrel2fix [-v|-h] | [<input_file_name> <output_file_name> <seconds_per_sample>]\n\n";

struct CommandLine {
  const char* fault;  ///< What the case guards against.
  std::string arguments;
  int exitCode;
  std::string output;  ///< Behind the banner.
  std::string errors;
};

TEST(Vrel2fixTest, AnswersEachCommandLine) {
  const std::string plain = dataPath("zint_plain_11.vrel");
  const std::string found =
      "Added 1 streams from VREL file.\nStart time (GPS nanoseconds): 1417651425000000000\n"
      "End time (GPS nanoseconds): 1417651441490000000\nFound ZINT stream (stream ID = 0)\n";
  const std::string count = "Invalid number of arguments provided.\n";
  const std::string period = "Invalid seconds-per-sample value provided: ";
  const std::string missing = "Input file \"none.vrel\" does not exist.\n";
  const std::string quon = dataPath("quon_triggers_11.quon");
  const std::string full = "Error: Output file \"/dev/full\" could not be written.\n";
  const std::string noFolder = "Error: Output file \"/nowhere/x\" could not be written.\n";
  const std::string own = scratchPath("own.vrel");
  std::ofstream(own, std::ios::binary) << contentsOf(plain);
  const CommandLine lines[] = {
      {"no arguments", "", 254, kUsage, count},
      {"unknown flag", "-x", 254, kUsage, count},
      {"flags mind case", "-V", 254, kUsage, count},
      {"a flag stands alone", "-h more", 254, kUsage, count},
      {"version", "-v", 0, "Version = 01.00.00, Development ID 231014.14zg\n", ""},
      {"long version", "--version", 0, "Version = 01.00.00, Development ID 231014.14zg\n", ""},
      {"help", "--help", 0, kUsage, ""},
      {"missing input, looked at before the period", "none.vrel x 0", 253, "", missing},
      {"no period", plain + " x 0", 255, kUsage, period + "0\n"},
      {"period that is no number", plain + " x abc", 255, kUsage, period + "0\n"},
      {"negative period", plain + " x -5", 255, kUsage, period + "-5\n"},
      {"empty period", plain + " x ''", 255, kUsage, period + "0\n"},
      {"unknown extension", dataPath("zint_plain_11.info.json") + " x 1", 252, "Added 0 streams from VREL file.\n",
       "Error: Resource failed to be added.\n"},
      {"full disk", plain + " /dev/full 1", 250, found, full},
      {"output into the input", own + " " + own + " 1", 250, found,
       "Error: Output file \"" + own + "\" could not be written.\n"},
      {"no such folder", plain + " /nowhere/x 1", 250, found, noFolder},
      {"largest period", plain + " " + scratchPath("one.txt") + " 99999999999", 0,
       found + "1 lines written to file \"\"" + scratchPath("one.txt") + "\"\"\n", ""},
  };
  for (const CommandLine& line : lines) {
    SCOPED_TRACE(line.fault);
    const auto result = runCommand("vrel2fix", line.arguments);
    EXPECT_EQ(result.exitCode, line.exitCode);
    EXPECT_EQ(result.output, kBanner + line.output);
    EXPECT_EQ(result.errors, line.errors);
  }
  EXPECT_EQ(contentsOf(own), contentsOf(plain)) << "the input stays as it is";
  EXPECT_EQ(runCommand("vrel2fix", quon + " x 1").exitCode, 251) << "a file without self-describing signals";
}

TEST(Vrel2fixTest, WritesTheKnownText) {
  for (const std::string name : {"zint_plain_11", "nav_recording_11", "can_with_zint_11"}) {
    SCOPED_TRACE(name);
    const std::string output = scratchPath(name + ".txt");
    EXPECT_EQ(runCommand("vrel2fix", dataPath(name + ".vrel") + " " + output + " 1").exitCode, 0);
    EXPECT_EQ(contentsOf(output), contentsOf(dataPath(name + ".convert.txt")));
  }
}

}  // namespace

}  // namespace Kvex
