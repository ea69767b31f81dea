#include <gtest/gtest.h>
#include <kvex/File.h>
#include <limits>

#include "support/Command.h"
#include "support/Golden.h"
#include "support/StoreReading.h"
#include "tool/Counters.h"
#include "tool/Failure.h"
#include "tool/ProgressBar.h"
#include "tool/Seconds.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Strings = std::vector<std::string>;

TEST(TextTest, NothingFromAFileObeysTheTerminal) {
  const std::pair<std::string, const char*> cases[] = {
      {"Lat", "Lat"},
      {"\033[2J", "?[2J"},
      {"a\r\nb\tc", "a??b?c"},
      {"\x7F", "?"},
      {"\xC2\x9B"
       "31m",
       "?31m"},
      {"m s\xE2\x81\xBB\xC2\xB2", "m s\xE2\x81\xBB\xC2\xB2"},
      {"\xC2", "\xC2"},
      {std::string("\0", 1), "?"},
  };
  for (const auto& [text, shown] : cases) EXPECT_EQ(printable(text), shown);
}

TEST(TextTest, FieldsOfCsvAreQuotedWhereTheyMustBe) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"Lat [°]", "Lat [°]"},
      {"x,y", "\"x,y\""},
      {"say \"so\"", "\"say \"\"so\"\"\""},
      {"a\nb", "\"a\nb\""},
      {"a\rb", "\"a\rb\""},
      {" a;b ", " a;b "},
  };
  for (const auto& [text, field] : cases) EXPECT_EQ(csvField(text), field);
}

TEST(TextTest, ValuesInJson) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::pair<Value, const char*> cases[] = {
      {Value(), "null"},
      {Value(true), "true"},
      {Value(0.1F), "0.1"},
      {Value(0.1), "0.1"},
      {Value(1e300), "1e+300"},
      {Value(kInfinity), "null"},
      {Value(-std::numeric_limits<float>::infinity()), "null"},
      {Value(std::numeric_limits<double>::quiet_NaN()), "null"},
      {Value(std::int8_t{-128}), "-128"},
      {Value(std::uint8_t{65}), "65"},
      {Value(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
      {Value(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(jsonText(jsonValue(value)), text);
}

TEST(TextTest, JsonOfBytesThatAreNoTextIsText) {
  EXPECT_EQ(jsonText("a\xFF"), "\"a\xEF\xBF\xBD\"");
  EXPECT_EQ(jsonText("\033\"\n"), R"("\u001b\"\n")");
}

TEST(TextTest, ColumnsAreAsWideAsTheirWidestCell) {
  const struct {
    const char* fault;
    std::vector<Strings> rows;
    std::size_t indent;
    std::string text;
  } cases[] = {
      {"cells of unequal width", {{"a", "1"}, {"long", "2"}}, 0, "a     1\nlong  2\n"},
      {"characters are counted, not bytes", {{"°", "1"}, {"ab", "2"}}, 0, "°   1\nab  2\n"},
      {"an indent", {{"a", "b"}}, 2, "  a  b\n"},
      {"no blanks at the end", {{"a", ""}, {"b", "long"}}, 0, "a\nb  long\n"},
      {"rows of unequal length", {{"a"}, {"b", "c"}}, 0, "a\nb  c\n"},
      {"a line end within a cell", {{"a\nb", "c"}}, 0, "a?b  c\n"},
      {"one long cell",
       {{std::string(60, 'x'), "1"}, {"y", "2"}},
       0,
       std::string(60, 'x') + "  1\ny" + std::string(49, ' ') + "2\n"},
      {"no rows", {}, 0, ""},
  };
  for (const auto& c : cases) {
    TextTable table;
    for (const Strings& row : c.rows) table.addRow(row);
    EXPECT_EQ(table.text(c.indent), c.text) << c.fault;
  }
}

TEST(TextTest, CountsAndExtensions) {
  EXPECT_EQ(counted(0, "page"), "0 pages");
  EXPECT_EQ(counted(1, "page"), "1 page");
  EXPECT_EQ(lowerExtension("a/b.C.NDJSON"), ".ndjson");
  EXPECT_EQ(lowerExtension("-"), "");
}

TEST(TextTest, ValuesComeWithTheTextOfTheirSignal) {
  const File file(Support::dataPath("quon_mode_mix_11.quon"));
  EXPECT_EQ(valueWithText(Value(1.5), file.signal("Lat")), "1.5");
  EXPECT_EQ(valueWithText(Value(std::uint8_t{4}), file.signal("InsNavMode")), "4 (Real-Time)");
}

TEST(CountersTest, SaysWhatIsWrongWithAStream) {
  const std::string whole = Support::contentsOf(Support::dataPath("zint_plain_11.vrel"));
  const auto harmed = [&](const char* name, auto&& harm) {
    std::string bytes = whole;
    harm(bytes);
    const Testing::TempFile path(name, bytes);
    const File file(path.path());
    return streamDamageText(file.streams().front(), file);
  };
  EXPECT_EQ(harmed("whole.vrel", [](std::string&) {}), "none");
  EXPECT_EQ(harmed("hole.vrel", [](std::string& bytes) { bytes.erase(bytes.size() / 2, 5000); }),
            "1.9 s of data lost, pagesLost 2, holes 1");
  EXPECT_EQ(harmed("open.vrel", [](std::string& bytes) { bytes.resize(bytes.size() * 9 / 10); }), "no end page");
}

TEST(SecondsTest, AnyTwoTimesHaveADistance) {
  EXPECT_DOUBLE_EQ(secondsBetween(1'417'651'425'000'000'000, 1'417'651'441'490'000'000), 16.49);
  EXPECT_DOUBLE_EQ(secondsBetween(5, -kNanosPerSecond + 5), -1.0);
  EXPECT_DOUBLE_EQ(secondsBetween(INT64_MIN, INT64_MAX), 18446744073.709551615);
  EXPECT_EQ(secondsText(0), "0");
  EXPECT_EQ(secondsText(999'000'000), "0.999");
  EXPECT_EQ(secondsText(3'140'000'000), "3.1");
}

TEST(CountersTest, AStreamsOwnCountsLeaveOutThoseOfTheFile) {
  const File file(Support::dataPath("nav_recording_11.vrel"));
  for (const Stream& stream : file.streams()) {
    EXPECT_EQ(ownCounters(stream, file).front().name, "packets");
    EXPECT_EQ(ownCounters(stream, file).back().name, "endPages");
  }
}

TEST(FailureTest, AnErrorIsPutAsTheUserKnowsTheFile) {
  const struct {
    Error error;
    const char* message;
  } cases[] = {
      {Error(ErrorCode::NotFound, "no such file", "a.vrel"), "cannot read \"a.vrel\": no such file"},
      {Error(ErrorCode::Unreadable, "why", "\033.vrel"), "cannot read \"?.vrel\": why"},
      {Error(ErrorCode::NoSuchStream, "there is no stream 9", "a.vrel"), "there is no stream 9"},
      {Error(ErrorCode::Cancelled, "reading was cancelled", "a.vrel"), "interrupted"},
  };
  for (const auto& c : cases) {
    const Failure failure = failureFrom(c.error);
    EXPECT_STREQ(failure.what(), c.message);
    EXPECT_EQ(failure.exit, VrelExit::Failed);
  }
}

TEST(ProgressBarTest, FillsFromLeftToRight) {
  const std::pair<double, std::string> cases[] = {
      {0.0, "Reading              [                                        ]   0 %"},
      {0.5, "Reading              [####################                    ]  50 %"},
      {1.0, "Reading              [########################################] 100 %"},
  };
  constexpr std::size_t kWide = 200;
  for (const auto& [fraction, text] : cases) EXPECT_EQ(barText("Reading", fraction, kWide), text);
  EXPECT_EQ(barText("Reading", 7.0, kWide), barText("Reading", 1.0, kWide));
  EXPECT_EQ(barText("Reading", -1.0, kWide), barText("Reading", 0.0, kWide));
  EXPECT_EQ(barText("Reading", std::numeric_limits<double>::quiet_NaN(), kWide), barText("Reading", 0.0, kWide));
}

TEST(ProgressBarTest, StaysWithinOneLine) {
  for (std::size_t columns = 0; columns < 100; ++columns) {
    const std::string text = barText("Finding start times", 0.5, columns);
    EXPECT_LT(text.size(), std::max<std::size_t>(columns, 1)) << columns;
    EXPECT_EQ(text.find("50 %") != std::string::npos, columns > 5) << columns;
    EXPECT_EQ(text.find("[##") != std::string::npos, columns > 34) << columns;
  }
}

}  // namespace

}  // namespace Kvex::Tool
