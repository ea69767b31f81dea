#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/stat.h>

#include "support/Command.h"
#include "support/Golden.h"
#include "support/Pages.h"

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
      {"seconds that look like a time", "export " + plain + " --start 180", 2, "", "+180 is 180 seconds after"},
      {"an end before the start", "export " + plain + " --start +2 --end +1", 2, "", "is not before the end"},
      {"a span without data", "export " + plain + " --start 2030-01-01", 2, "",
       "the file goes from 2024-12-08T00:03:27"},
      {"the same of native samples", "export " + plain + " --native --end 2020-01-01", 2, "",
       "there is no data before"},
      {"the same of states", "states " + plain + " --signal Nano --start +1h", 2, "", "there is no data from"},
      {"a span beyond the file", "export " + plain + " --signal Nano --end +1h", 0, "\n1417651425", "vrel: note: "},
      {"before the end", "export " + plain + " --signal Nano --start -1.5s --time elapsed", 0,
       "time,Nano [ns]\n14.99,1417651439990000000\n", ""},
      {"signals in the order asked for", "export " + plain + " --signal GnssInt1_Longitude,GnssInt1_Latitude --end +1",
       0, "time,GnssInt1_Longitude [°],GnssInt1_Latitude [°]\n", ""},
      {"names with their stream", "export " + plain + " --signal gnssint1_altitude --qualified --end +1", 0,
       "time,0:GnssInt1_Altitude [m]\n", ""},
      {"the same in long form", "export " + plain + " --signal Nano --qualified --long --end +1", 0, ",0,0:Nano,", ""},
      {"an age below zero", "export " + plain + " --max-age -1", 2, "", "--max-age"},
      {"an age of native samples", "export " + plain + " --max-age 1 --native", 2, "", "--max-age"},
      {"streams as a list", "export " + plain + " --stream 0,9", 1, "", "no stream 9"},
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
      {"streams of a bare file", "synth " + scratchPath("x.quon") + " --streams can", 2, "", "--streams"},
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

/// A file with something done to its bytes, and what `vrel check` says of it.
struct Damage {
  const char* file;
  void (*harm)(std::string& bytes);
  int exitCode;
  const char* verdict;
};

TEST(VrelTest, SaysWhatDamageMeans) {
  const auto cutHole = [](std::string& bytes) { bytes.erase(bytes.size() / 2, 5000); };
  const auto spoilByte = [](std::string& bytes) { bytes[bytes.size() / 2] ^= 1; };
  const auto cutEnd = [](std::string& bytes) { bytes.resize(bytes.size() - 20); };
  const auto addJunk = [](std::string& bytes) { bytes.insert(bytes.size() / 2, 100, 'x'); };
  const Damage damages[] = {
      {"zint_plain_11.vrel", [](std::string&) {}, 0, "Nothing was lost."},
      {"zint_plain_11.vrel", cutHole, 3, "stream 0: 2 pages missing, 1.9 s of data lost between 8.2 s and 10.1 s "},
      {"zint_plain_11.vrel", spoilByte, 3,
       "stream 0: 1 page missing, 0.930 s of data lost between 8.230 s and 9.160 s "},
      {"zint_plain_11.vrel", cutEnd, 3, "The recording was not closed; up to its end nothing was lost."},
      {"quon_triggers_11.quon", addJunk, 3, "bytes"},
      {"yeld_chase2_lanes_11.yeld", cutEnd, 3, "end"},
  };
  for (const Damage& damage : damages) {
    std::string bytes = contentsOf(dataPath(damage.file));
    damage.harm(bytes);
    const std::string path = scratchPath(std::string("harmed-") + damage.file);
    std::ofstream(path, std::ios::binary) << bytes;
    const auto result = runCommand("vrel", "check " + path);
    EXPECT_EQ(result.exitCode, damage.exitCode) << damage.file << damage.verdict;
    EXPECT_NE(result.output.find(damage.verdict), std::string::npos) << result.output;
  }
}

TEST(VrelTest, JudgesManyFilesAtOnce) {
  const std::string good = dataPath("zint_plain_11.vrel");
  const std::string open = scratchPath("many-open.vrel");
  const std::string bad = scratchPath("many-bad.vrel");
  const std::string empty = scratchPath("many-empty.quon");
  std::ofstream(open, std::ios::binary) << contentsOf(good).substr(0, 50'000);
  std::ofstream(bad, std::ios::binary) << contentsOf(good).erase(20'000, 9'000);
  std::ofstream(empty, std::ios::binary);
  const struct {
    std::string files;
    int check;
    int info;
    std::size_t lines;  ///< Of what `check` prints, for several files.
  } cases[] = {{good, 0, 0, 0},
               {open, 3, 0, 0},
               {bad, 3, 3, 0},
               {empty, 1, 1, 0},
               {good + ' ' + open, 3, 0, 2},
               {good + ' ' + bad + ' ' + good, 3, 3, 3},
               {bad + ' ' + empty + ' ' + good, 1, 1, 2}};
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.files);
    const auto check = runCommand("vrel", "check " + expected.files);
    EXPECT_EQ(check.exitCode, expected.check);
    EXPECT_EQ(runCommand("vrel", "info " + expected.files).exitCode, expected.info);
    if (expected.lines == 0) continue;
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(check.output, '\n')), expected.lines);
    std::istringstream lines(runCommand("vrel", "info --json " + expected.files).output);
    std::size_t parsed = 0;
    for (std::string line; std::getline(lines, line); ++parsed) EXPECT_TRUE(nlohmann::json::accept(line));
    EXPECT_EQ(parsed, expected.lines);
  }
  EXPECT_NE(runCommand("vrel", "export " + open).errors.find("was not closed"), std::string::npos);
  for (const char* command : {"info ", "signals ", "check ", "export "}) {
    const auto result = runCommand("vrel", command + empty);
    EXPECT_EQ(result.exitCode, 1) << command;
    EXPECT_NE(result.errors.find("no packets of Quon found"), std::string::npos) << result.errors;
    EXPECT_EQ(result.output, "");
  }
}

TEST(VrelTest, ATimeThatIsNotKnownIsNull) {
  // Data without its header: nothing has time.
  const std::string path = scratchPath("no-time.vrel");
  std::string bytes = contentsOf(dataPath("can_fd_11.vrel"));
  std::string kept;
  Testing::forEachPage(bytes, [&](ogg_page& page) {
    if (ogg_page_pageno(&page) != 0) return;
    kept.append(reinterpret_cast<const char*>(page.header), static_cast<std::size_t>(page.header_len));
    kept.append(reinterpret_cast<const char*>(page.body), static_cast<std::size_t>(page.body_len));
  });
  std::ofstream(path, std::ios::binary) << kept;
  const auto info = nlohmann::json::parse(runCommand("vrel", "info --json " + path).output);
  ASSERT_FALSE(info["streams"].empty());
  for (const char* key : {"start", "end"}) {
    EXPECT_TRUE(info[key].is_null());
    EXPECT_TRUE(info["streams"][0][key].is_null());
  }
}

TEST(VrelTest, LongTablesKeepTheirOrder) {
  constexpr std::int64_t kPeriod = 100'000;
  const std::string table = scratchPath("long.csv");
  const auto result = runCommand("vrel", "export " + dataPath("zint_plain_11.vrel") + " --period 0.0001 -o " + table);
  ASSERT_EQ(result.exitCode, 0) << result.errors;
  std::ifstream file(table);
  std::string line;
  std::getline(file, line);
  const auto fields = std::count(line.begin(), line.end(), ',');
  std::int64_t time = 1417651425000000000;
  for (; std::getline(file, line); time += kPeriod) {
    ASSERT_EQ(line.substr(0, line.find(',')), std::to_string(time));
    ASSERT_EQ(std::count(line.begin(), line.end(), ','), fields);
  }
  EXPECT_EQ(time, 1417651441490000000) << "the end of the file";
}

TEST(VrelTest, AnInterruptEndsATableWithAWholeLine) {
  const std::string pipe = scratchPath("pipe");
  const std::string read = scratchPath("read");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  // The table is larger than the pipe: behind its first byte it waits for the reader, who comes after the interrupt.
  const auto result =
      runCommand("vrel", "export " + dataPath("zint_plain_11.vrel") + " --period 0.0001 >" + pipe + " 2>" + pipe +
                             ".errors & vrel=$!; exec 3<" + pipe + "; dd bs=1 count=1 <&3 >" + read +
                             " 2>/dev/null; kill -INT $vrel; cat <&3 >>" + read + "; wait $vrel");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(contentsOf(pipe + ".errors"), "vrel: interrupted\n");
  EXPECT_EQ(contentsOf(read).back(), '\n');
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
