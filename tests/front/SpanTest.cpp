// Typed spans against the data of a file, and the largest age of values on a grid.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <sstream>

#include "support/Golden.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"

namespace Kvex {
namespace {

using Support::dataPath;
using testing::AllOf;
using testing::HasSubstr;

struct TypedTexts {
  const char* start;  ///< Empty for none.
  const char* end;
};

TypedSpan typedSpan(const TypedTexts& texts) {
  TypedSpan typed;
  if (*texts.start != '\0') typed.start = TimeText(texts.start);
  if (*texts.end != '\0') typed.end = TimeText(texts.end);
  return typed;
}

TEST(SpanTest, IsCutToTheDataWithANote) {
  const File file(dataPath("zint_plain_11.vrel"));
  const auto [start, end] = file.span();
  const std::vector<Signal> signals{file.signal("Nano")};
  const Stream& stream = file.streams().front();
  const struct {
    TypedTexts typed;
    ChosenSpan grid;  ///< Of the notes only their number counts.
    std::size_t nativeNotes;
  } cases[] = {
      {{"", ""}, {{}, {}, {}}, 0},
      {{"+1", "+2.5"}, {start + kNanosPerSecond, start + 2'500'000'000, {}}, 0},
      {{"+0", "-0"}, {start, end, {}}, 0},
      {{"-1", ""}, {end - kNanosPerSecond, {}, {}}, 0},
      {{"", "+1h"}, {{}, end, {"end"}}, 1},
      {{"-1h", ""}, {start, {}, {"start"}}, 1},
      {{"2020-01-01", "2030-01-01"}, {start, end, {"start", "end"}}, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.typed.start) + " to " + c.typed.end);
    const ChosenSpan grid = file.gridSpan(typedSpan(c.typed));
    EXPECT_EQ(grid.start, c.grid.start);
    EXPECT_EQ(grid.end, c.grid.end);
    ASSERT_EQ(grid.notes.size(), c.grid.notes.size());
    for (std::size_t i = 0; i < grid.notes.size(); ++i) EXPECT_THAT(grid.notes[i], HasSubstr(c.grid.notes[i]));
    const ChosenSpan native = file.nativeSpan(typedSpan(c.typed), signals);
    EXPECT_EQ(native.notes.size(), c.nativeNotes);
    EXPECT_EQ(native.start.has_value(), *c.typed.start != '\0');
  }
  TypedSpan last;
  last.start = TimeText(std::to_string(stream.end()));
  EXPECT_NO_THROW(file.nativeSpan(last, signals)) << "the last record is data";
  EXPECT_THROW(file.gridSpan(last), Error) << "a grid ends before it";
  last.end = TimeText(std::to_string(stream.end() + 1));
  EXPECT_TRUE(file.nativeSpan(last, signals).notes.empty());
}

TEST(SpanTest, WithoutDataNamesThatOfTheFile) {
  const File file(dataPath("zint_plain_11.vrel"));
  const std::vector<Signal> signals{file.signal("Nano")};
  const TypedTexts cases[] = {{"+2", "+1"}, {"+2", "+2"},   {"2030-01-01", ""}, {"", "2020-01-01"},
                              {"", "+0"},   {"+1h", "+2h"}, {"-0", "+1"}};
  for (const TypedTexts& texts : cases) {
    SCOPED_TRACE(std::string(texts.start) + " to " + texts.end);
    for (const bool native : {false, true}) {
      try {
        native ? file.nativeSpan(typedSpan(texts), signals) : file.gridSpan(typedSpan(texts));
        ADD_FAILURE() << native;
      } catch (const Error& error) {
        EXPECT_EQ(error.code(), ErrorCode::InvalidArgument);
        EXPECT_THAT(error.reason(), AllOf(HasSubstr(utcText(file.span().start)), HasSubstr(utcText(file.span().end))));
      }
    }
  }
}

TEST(SpanTest, FileWithoutTimeHasNone) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream({.serial = 1,
                                                 .primary = Com::primaryText("[Kvex-Zint]", 1),
                                                 .headers = {Testing::countDefinition().headerPacket()},
                                                 .packetsPerPage = 1});
  stream.writeHeader();
  writer.end();
  const Testing::TempFile recording("span-no-time.vrel", out.str());
  const File file(recording.path());
  ASSERT_FALSE(file.signals().empty());
  EXPECT_THROW(file.gridSpan({}), Error);
  EXPECT_THROW(file.nativeSpan({}, file.signals()), Error);
  EXPECT_THROW(file.choose({}), Error);
  EXPECT_THROW(file.choose({"*"}), Error);
  EXPECT_EQ(choose({"*"}, file.signals()).size(), file.signals().size()) << "of a list all can be chosen";
}

TEST(MaxAgeTest, LeavesOutWhatIsOlder) {
  File file(dataPath("nav_recording_11.vrel"));
  const Signal signal = file.signal("1:GpsPosMode");
  constexpr Nano kAge = 500'000'000;
  const Grid every = Grid::every(70'000'000);
  std::vector<Batch> aged;
  for (const Batch& batch : file.grid(signal, every.withMaxAge(kAge), {.flags = true})) aged.push_back(batch);
  std::size_t old = 0;
  std::size_t young = 0;
  auto next = aged.begin();
  for (const Batch& batch : file.grid(signal, every, {.flags = true, .stamps = true})) {
    ASSERT_NE(next, aged.end());
    ASSERT_EQ(next->rows(), batch.rows());
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      const std::uint8_t flags = batch.buffers(0).flags[row];
      const bool expires = usable(flags) && batch.times()[row] - batch.buffers(0).stamps[row] > kAge;
      ++(expires ? old : young);
      EXPECT_EQ(bitAt(next->buffers(0).validity, row), usable(flags) && !expires) << row;
      EXPECT_EQ(next->buffers(0).flags[row], expires ? flags | Flag::kExpired | Flag::kNotAvailable : flags) << row;
    }
    ++next;
  }
  EXPECT_GT(old, 0U);
  EXPECT_GT(young, 0U);
}

TEST(MaxAgeTest, IsNotBelowZero) {
  File file(dataPath("zint_plain_11.vrel"));
  EXPECT_THROW(file.grid("Nano", Grid::every(kNanosPerSecond).withMaxAge(-1)), Error);
  EXPECT_NO_THROW(file.grid("Nano", Grid::every(kNanosPerSecond).withMaxAge(INT64_MAX)).next());
}

}  // namespace
}  // namespace Kvex
