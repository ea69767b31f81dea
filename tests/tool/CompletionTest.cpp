#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>

#include "support/Command.h"
#include "support/Golden.h"
#include "tool/Commands.h"
#include "tool/Completion.h"

namespace Kvex::Tool {

namespace {

using Support::dataPath;
using testing::Contains;
using testing::HasSubstr;
using Words = std::vector<std::string>;

/// The words that may stand in place of the last one; "files" for names of files.
Words completions(const Words& words, std::size_t current) {
  CLI::App app("", "vrel");
  Action action;
  addInfoCommand(app, action);
  addSignalsCommand(app, action);
  addExportCommand(app, action);
  const Completion completion = complete(app, words, current, lookQuickly);
  if (completion.files) return {"files"};
  Words found;
  for (const Candidate& candidate : completion.candidates) found.push_back(candidate.word);
  return found;
}

TEST(CompletionTest, OffersWhatMayStandAtTheCursor) {
  const std::string file = dataPath("nav_recording_11.vrel");
  const struct {
    Words words;
    Words offered;
  } cases[] = {
      {{"ex"}, {"export"}},
      {{"zz"}, {}},
      {{"export", ""}, {"files"}},
      {{"export", file, "-o", "x"}, {"files"}},
      {{"export", "--wor", ""}, {"files"}},
      {{"export", file, "--peri"}, {"--period"}},
      {{"export", file, "--format", "nd"}, {"ndjson"}},
      {{"export", file, "--format=t"}, {"--format=tsv"}},
      {{"export", file, "--signal", "Longitud"}, {}},
      {{"export", file, "--signal", "InsNavMod"}, {"InsNavMode"}},
      {{"export", file, "--signal", "insnavmod"}, {"InsNavMode"}},
      {{"export", file, "--signal", "Lat,InsNavMod"}, {"Lat,InsNavMode"}},
      {{"export", file, "--signal", "1:InsNavMod"}, {"1:InsNavMode"}},
      {{"export", file, "--period", ""}, {}},
      {{"export", "none.vrel", "--signal", "La"}, {}},
      {{"signals", "--signal", "InsNavMod", file}, {"InsNavMode"}},
  };
  for (const auto& [words, offered] : cases) {
    const std::size_t current = words.size() == 4 && words[1] == "--signal" ? 2 : words.size() - 1;
    EXPECT_EQ(completions(words, current), offered) << fmt::format("{}", fmt::join(words, " "));
  }
  const File opened(file);
  EXPECT_EQ(completions({"export", file, "--stream", ""}, 3).size(), opened.streams().size());
}

TEST(CompletionTest, OffersElementsBehindABracket) {
  const Words elements =
      completions({"export", dataPath("range_recording_11.vrel"), "--signal", "Hunter_PolygonPointsLat["}, 3);
  EXPECT_EQ(elements.size(), 24U);
  EXPECT_THAT(elements, Contains("Hunter_PolygonPointsLat[3]"));
}

TEST(CompletionTest, ReadsALineAsBashDoes) {
  const struct {
    const char* line;
    Words words;
    char quote;
    std::size_t replaceAt;
  } cases[] = {
      {"vrel info ", {"vrel", "info", ""}, '\0', 0},
      {"vrel info run", {"vrel", "info", "run"}, '\0', 0},
      {"vrel info my\\ run.vr", {"vrel", "info", "my run.vr"}, '\0', 0},
      {"vrel info 'my run", {"vrel", "info", "my run"}, '\'', 0},
      {"vrel info \"a\\\"b\\c", {"vrel", "info", "a\"b\\c"}, '"', 0},
      {"x --signal=La", {"x", "--signal=La"}, '\0', 9},
      {"x 2:La", {"x", "2:La"}, '\0', 2},
      {"x ab'c", {"x", "abc"}, '\'', 2},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.line);
    const std::vector<ShellWord> words = splitShellLine(expected.line, "\"'=:");
    Words texts;
    for (const ShellWord& word : words) texts.push_back(word.text);
    EXPECT_EQ(texts, expected.words);
    EXPECT_EQ(words.back().quote, expected.quote);
    EXPECT_EQ(words.back().replaceAt, expected.replaceAt);
  }
}

TEST(CompletionTest, QuotesWhatBashWouldTakeApart) {
  const struct {
    ShellWord word;
    const char* name;
    const char* inserted;
  } cases[] = {
      {{"La", '\0', 0}, "Lat", "Lat"},       {{"", '\0', 0}, "A B[3]$", "A\\ B\\[3\\]\\$"},
      {{"", '\'', 0}, "A's B", "A'\\''s B"}, {{"", '"', 0}, "A \"B\" $c", "A \\\"B\\\" \\$c"},
      {{"2:La", '\0', 2}, "2:Lat", "Lat"},
  };
  for (const auto& [word, name, inserted] : cases) EXPECT_EQ(bashInsertion(word, name), inserted) << name;
}

TEST(CompletionTest, BashCompletesTheSignalsOfTheFileOnTheLine) {
  const std::string line = "vrel export " + dataPath("nav_recording_11.vrel") + " --signal 1:InsNavMo";
  const auto result = Support::runCommand(
      "vrel", "completion bash >" + Support::scratchPath("vrel.bash") + " && bash -c 'PATH=" KVEX_BIN ":$PATH; . " +
                  Support::scratchPath("vrel.bash") + "; compopt() { :; }; COMP_LINE=\"" + line +
                  "\"; COMP_POINT=${#COMP_LINE}; _vrel vrel; printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
  EXPECT_EQ(result.output, "InsNavMode\n") << result.errors;
}

}  // namespace

}  // namespace Kvex::Tool
