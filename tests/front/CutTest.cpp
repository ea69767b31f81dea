// A cut gives the rows of its span as the file that it was cut from, but for the signals that docs/cut.md names.

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>

#include "support/Command.h"
#include "support/Packets.h"
#include "synth/DemoRecording.h"

namespace Kvex {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::TempFile;

/// The names in the tables of docs/cut.md: signals that may differ in a cut.
std::set<std::string> namesOfThePage() {
  const std::string page = Support::contentsOf(KVEX_PAGES "/cut.md");
  std::set<std::string> names;
  const std::regex inCode("`([A-Za-z0-9_]+)`");
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("| ")) continue;
    for (std::sregex_iterator name(line.begin(), line.end(), inCode), end; name != end; ++name)
      names.insert((*name)[1]);
  }
  return names;
}

/// A sum over the rows of each signal, by serial and name.
using Rows = std::map<std::pair<std::uint32_t, std::string>, std::string>;

/// What an export shows of a cell: nothing where the value is not usable.
std::string shownAt(const Batch& batch, std::size_t column, std::size_t row) {
  return bitAt(batch.buffers(column).validity, row) ? batch.value(column, row).text() : "";
}

/// What an export of all signals over a span holds: the usable native samples, or a grid.
Rows nativeRows(File& file, Span span) {
  Rows rows;
  for (const Stream& stream : file.streams()) {
    if (!stream.hasTime() || stream.signals().empty()) continue;
    std::vector<Signal> scalars;
    std::ranges::copy_if(stream.signals(), std::back_inserter(scalars), [](const Signal& s) { return !s.isArray(); });
    for (const Batch& batch : file.nativeTables(scalars, {.start = span.start, .end = span.end})) {
      for (std::size_t column = 0; column < batch.columns(); ++column) {
        const Signal& signal = batch.signals()[column];
        std::string& text = rows[{stream.serial(), signal.name()}];
        for (std::size_t row = 0; row < batch.rows(); ++row) {
          const std::string shown = shownAt(batch, column, row);
          if (!shown.empty()) text += std::to_string(batch.time(row)) + '=' + shown + ' ';
        }
      }
    }
  }
  return rows;
}

Rows gridRows(File& file, Span span) {
  constexpr Nano kRows = 20;
  std::vector<Nano> times;
  for (Nano row = 0; row < kRows; ++row) times.push_back(span.start + (span.end - span.start) / kRows * row);
  std::vector<Signal> scalars;
  for (const Stream& stream : file.streams()) {
    if (!stream.hasTime()) continue;
    std::ranges::copy_if(stream.signals(), std::back_inserter(scalars), [](const Signal& s) { return !s.isArray(); });
  }
  Rows rows;
  for (const Batch& batch : file.grid(scalars, Grid::at(times))) {
    for (std::size_t column = 0; column < batch.columns(); ++column) {
      const Signal& signal = batch.signals()[column];
      std::string& text = rows[{file.stream(signal.stream()).serial(), signal.name()}];
      for (std::size_t row = 0; row < batch.rows(); ++row) text += shownAt(batch, column, row) + ' ';
    }
  }
  return rows;
}

/// Names of the signals that differ.
std::set<std::string> differing(const Rows& original, const Rows& cut) {
  std::set<std::string> names;
  for (const auto& [key, text] : original) {
    const auto found = cut.find(key);
    if (found == cut.end() ? !text.empty() : found->second != text) names.insert(key.second);
  }
  return names;
}

struct CutResult {
  std::set<std::string> differing;
  std::set<std::string> lost;
  bool refused = false;
};

CutResult cutAndCompare(const std::string& path, Span span) {
  const TempFile out("cut-out" + fs::path(path).extension().string());
  File original(path);
  CutResult result;
  CutReport report;
  try {
    CutOptions options;
    options.start = span.start;
    options.end = span.end;
    options.force = true;
    report = original.cut(out.path(), options);
  } catch (const Error& error) {
    if (error.code() != ErrorCode::Refused) throw;
    result.refused = true;
    return result;
  }
  File cut(out.path());
  EXPECT_EQ(cut.judgement(), Judgement::Whole) << cut.damage().sentence();
  for (const CutStream& stream : report.streams)
    result.lost.insert(stream.lostSignals.begin(), stream.lostSignals.end());
  result.differing = differing(nativeRows(original, span), nativeRows(cut, span));
  result.differing.merge(differing(gridRows(original, span), gridRows(cut, span)));
  return result;
}

/// A span of the file's, from one fraction of it to another.
Span part(const File& file, double from, double to) {
  const Span whole = file.span();
  const auto length = static_cast<double>(whole.end - whole.start);
  return {whole.start + static_cast<Nano>(length * from), whole.start + static_cast<Nano>(length * to)};
}

std::vector<std::string> samples() {
  std::vector<std::string> paths;
  for (const auto& entry : fs::directory_iterator(KVEX_TEST_DATA)) {
    const std::string extension = entry.path().extension().string();
    for (const char* known : {".vrel", ".quon", ".dask", ".yeld"}) {
      if (extension == known) paths.push_back(entry.path().string());
    }
  }
  std::ranges::sort(paths);
  return paths;
}

TEST(CutTest, GivesTheRowsOfTheSpanOfEverySample) {
  const std::set<std::string> allowed = namesOfThePage();
  int cuts = 0;
  for (const std::string& path : samples()) {
    const File file(path);
    if (!file.hasTime()) continue;
    for (const auto& [from, to] : {std::pair{0.0, 0.4}, {0.3, 0.6}, {0.5, 1.1}}) {
      SCOPED_TRACE(path + " from " + std::to_string(from));
      const CutResult result = cutAndCompare(path, part(file, from, to));
      cuts += result.refused ? 0 : 1;
      std::set<std::string> unexpected;
      for (const std::string& name : result.differing) {
        if (!allowed.contains(name) && !result.lost.contains(name)) unexpected.insert(name);
      }
      EXPECT_THAT(unexpected, IsEmpty());
    }
  }
  EXPECT_GT(cuts, 50);
}

TEST(CutTest, GivesTheRowsOfRandomSpansOfRandomDrives) {
  const std::set<std::string> allowed = namesOfThePage();
  std::mt19937_64 random(14);
  const auto draw = [&] { return static_cast<double>(random() % 1000) / 1000; };
  for (int drive = 0; drive < 12; ++drive) {
    std::ostringstream bytes;
    std::vector<const Synth::DemoProtocol*> protocols;
    for (const Synth::DemoProtocol& protocol : Synth::demoProtocols()) protocols.push_back(&protocol);
    Synth::DemoRecording demo(bytes, protocols, random());
    for (int step = 0; step < 50 + drive * 40; ++step) demo.writeStep();
    demo.end();
    const TempFile recording("cut-drive.vrel", bytes.str());
    const File file(recording.path());
    const double from = draw();
    const Span span = part(file, from, from + 0.02 + draw() * 0.3);
    SCOPED_TRACE("drive " + std::to_string(drive) + " from " + std::to_string(from));
    const CutResult result = cutAndCompare(recording.path(), span);
    EXPECT_FALSE(result.refused);
    std::set<std::string> unexpected;
    for (const std::string& name : result.differing) {
      if (!allowed.contains(name) && !result.lost.contains(name)) unexpected.insert(name);
    }
    EXPECT_THAT(unexpected, IsEmpty());
  }
}

TEST(CutTest, RefusesASpanWhoseTimesAreKnownLaterAndSaysWhichWouldDo) {
  const TempFile out("cut-refused.vrel");
  const std::string joined = KVEX_TEST_DATA "/can_joined_11.vrel";
  File file(joined);
  CutOptions options;
  options.end = file.span().start + kNanosPerSecond / 2;
  options.start = file.span().start;
  try {
    file.cut(out.path(), options);
    ADD_FAILURE() << "not refused";
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::Refused);
    EXPECT_THAT(error.reason(), HasSubstr("would do"));
  }
}

/// Counts ten times a second for some minutes, with a setting that is sent once, at the start.
std::string recordingWithAnEarlySetting() {
  constexpr Nano kStart = 1'384'035'200'000'000'000;
  Synth::ZintDefinition definition = Testing::countDefinition();
  definition.signals.push_back({.id = 3, .name = "Setting", .bitOffset = 64, .bitSize = 32, .base = "U"});
  definition.messages.push_back({.id = 2, .signals = {1, 3}});
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream(
      {.serial = 1, .primary = Com::primaryText("[Kvex-Zint]", 1), .headers = {definition.headerPacket()}});
  stream.writeHeader();
  for (std::uint32_t i = 0; i < 2000; ++i) {
    const Nano time = kStart + i * kNanosPerSecond / 10;
    if (i == 50) {
      Synth::ZintPacket setting(2, 12);
      setting.setBits(0, 64, static_cast<std::uint64_t>(time));
      setting.setBits(64, 32, 7);
      stream.add(setting.bytes());
    }
    stream.add(Testing::countPacket(time, i));
  }
  writer.end();
  return out.str();
}

TEST(CutTest, NamesWhatWasSentOnlyBeforeTheLead) {
  const TempFile source("cut-early.vrel", recordingWithAnEarlySetting());
  const TempFile out("cut-early-out.vrel");
  File file(source.path());
  const auto cut = [&](std::optional<Nano> lead) {
    CutOptions options;
    options.force = true;
    options.start = file.span().start + 150 * kNanosPerSecond;
    options.lead = lead;
    return file.cut(out.path(), options).streams.at(0);
  };
  const CutStream lost = cut(std::nullopt);
  EXPECT_EQ(lost.lostSignals, std::vector<std::string>{"Setting"});
  EXPECT_LE(lost.lead, 60 * kNanosPerSecond);
  const CutStream kept = cut(146 * kNanosPerSecond);
  EXPECT_THAT(kept.lostSignals, IsEmpty());
  EXPECT_GT(kept.lead, 144 * kNanosPerSecond);
  File whole(out.path());
  Reader rows = whole.grid({whole.signal("Setting")}, Grid::at({whole.span().end - 1}));
  EXPECT_EQ((*rows.begin()).value(0, 0).text(), "7");
}

TEST(CutTest, CommandKeepsHeadersAndAPlainStructure) {
  const TempFile source("cut-cmd.vrel");
  const TempFile out("cut-cmd-out.vrel");
  const TempFile bare("cut-cmd.quon");
  ASSERT_EQ(Support::runCommand("vrel", "synth '" + source.path() + "' --seconds 20 --force").exitCode, 0);
  const struct {
    std::string arguments;
    int exit;
    std::string errors;
  } cases[] = {
      {"--start +5 --end +8 --force -o '" + out.path() + "'", 0, ""},
      {"--start +5 --end +8 -o '" + out.path() + "'", 1, "not replaced without --force"},
      {"--start +5 --end +8 --force -o '" + source.path() + "'", 2, "the output is the file that is read"},
      {"--start +5 --end +8 --force -o '" + bare.path() + "'", 2, "must end in .vrel"},
      {"--start +5 --end +8 --streams 9 --force -o '" + out.path() + "'", 1, "9"},
      {"--start +8 --end +5 --force -o '" + out.path() + "'", 2, ""},
      {"--start +5 --end +8 --streams 0,1 --lead 0 --force -o '" + out.path() + "'", 0, "sent only before"},
      {"--start +5 --end +8 --lead 0.1 --force -o '" + out.path() + "'", 1, "with the lead that is taken by default"},
      {"--start +5 --end +8 --streams 1 --force -o '" + out.path() + "'", 0, ""},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.arguments);
    const Support::CommandResult result =
        Support::runCommand("vrel", "cut '" + source.path() + "' " + expected.arguments);
    EXPECT_EQ(result.exitCode, expected.exit) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr(expected.errors));
    if (result.exitCode == 0) {
      EXPECT_EQ(Support::runCommand("vrel", "check '" + out.path() + "'").exitCode, 0);
      if (fs::exists("/usr/bin/oggz-validate")) {
        EXPECT_EQ(std::system(("oggz-validate '" + out.path() + "' >/dev/null 2>&1").c_str()), 0);
      }
    }
  }
  const File before(source.path());
  const File after(out.path());
  ASSERT_EQ(after.streams().size(), 1);
  EXPECT_EQ(after.signals().size(), before.stream(1).signals().size());  // the CAN database stays
}

}  // namespace
}  // namespace Kvex
