// Batches against the samples of the store: rows, values, bitmaps, lists and the ways of cutting them.

#include <gtest/gtest.h>
#include <kvex/File.h>
#include <map>

#include "support/Golden.h"
#include "support/StoreReading.h"

namespace Kvex {
namespace {

using Support::dataPath;

/// What a batch shows of a cell: empty without a sample; "value flags stamp" with one.
std::string cellText(const Batch& batch, std::size_t column, std::size_t row) {
  const Value value = batch.value(column, row);
  if (value.type() == ValueType::None) return {};
  return value.text() + ' ' + std::to_string(value.flags()) + ' ' + std::to_string(value.stamp());
}

using Samples = std::map<std::string, std::vector<std::string>>;

/// All samples by signal, each with its time, from the batches of a reading.
void addBatch(Samples& samples, const Batch& batch) {
  for (std::size_t column = 0; column < batch.columns(); ++column) {
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      const std::string text = cellText(batch, column, row);
      if (text.empty()) continue;
      samples[batch.signals()[column].name()].push_back(std::to_string(batch.time(row)) + ' ' + text);
    }
  }
}

/// The same from the store's own reader.
Samples samplesOfStore(const std::string& path, const std::vector<std::string>& names) {
  Testing::StoreReading reading(path);
  std::vector<Sto::SignalListing> signals;
  reading.store.visitStream(0, [&](const Sto::Stream& stream, const Sto::Resource&) {
    for (const Sto::SignalListing& signal : stream.namedSignals()) {
      if (std::ranges::count(names, signal.name) > 0) signals.push_back(signal);
    }
  });
  Samples samples;
  const auto reader = reading.store.openNative(0, signals, Sto::NativeReader::Detail::FlagsAndStamp);
  while (reader->readBlock()) {
    for (std::size_t step = 0; step < reader->times().size(); ++step) {
      for (std::size_t i = 0; i < signals.size(); ++i) {
        const std::size_t element = reader->firstElement(i);
        if ((reader->samples(element) >> step & 1) == 0) continue;
        Lib::withType(signals[i].valueType, [&](auto tag) {
          const Value value(reader->value<typename decltype(tag)::Type>(element, step), reader->stamp(element, step),
                            reader->flags(element, step));
          samples[signals[i].name].push_back(std::to_string(reader->times()[step]) + ' ' + value.text() + ' ' +
                                             std::to_string(value.flags()) + ' ' + std::to_string(value.stamp()));
        });
      }
    }
  }
  return samples;
}

class NativeBatchTest : public testing::TestWithParam<const char*> {};

TEST_P(NativeBatchTest, HoldAllSamplesOfTheStoreHoweverTheyAreCut) {
  const std::string path = dataPath(GetParam());
  File file(path);
  std::vector<Signal> scalars;
  std::vector<std::string> names;
  for (const Signal& signal : file.match("0:*")) {
    if (signal.isArray()) continue;
    scalars.push_back(signal);
    names.push_back(signal.name());
  }
  const Samples expected = samplesOfStore(path, names);
  for (const std::size_t batchRows : {0U, 1U, 63U, 64U, 100U}) {
    const ReadOptions options{.flags = true, .stamps = true, .batchRows = batchRows};
    Samples wide;
    for (const Batch& batch : file.native(scalars, options)) {
      if (batchRows > 0) {
        EXPECT_LE(batch.rows(), batchRows);
      }
      addBatch(wide, batch);
    }
    EXPECT_TRUE(wide == expected) << "one table, batches of " << batchRows;
    Samples parted;
    for (const Batch& batch : file.nativeTables(scalars, options)) {
      for (const Signal& signal : batch.signals()) EXPECT_EQ(signal.table(), batch.table());
      addBatch(parted, batch);
      for (std::size_t row = 0; row < batch.rows(); ++row) {
        bool any = false;
        for (std::size_t column = 0; column < batch.columns(); ++column) {
          any |= bitAt(batch.buffers(column).present, row);
        }
        ASSERT_TRUE(any) << "a row of " << batch.table() << " without a sample";
      }
    }
    EXPECT_TRUE(parted == expected) << "own tables, batches of " << batchRows;
  }
}

INSTANTIATE_TEST_SUITE_P(Files, NativeBatchTest,
                         testing::Values("zint_plain_11.vrel", "zint_wild_11.vrel", "can_fd_11.vrel",
                                         "quon_triggers_11.quon"),
                         [](const testing::TestParamInfo<const char*>& param) {
                           const std::string name = param.param;
                           return name.substr(0, name.rfind('.'));
                         });

TEST(BatchTest, ColumnsLieAsArrowHasThem) {
  File file(dataPath("yeld_polygon_pieces_11.yeld"));
  const ReadOptions options{.flags = true, .stamps = true, .batchRows = 70};
  bool anyNull = false;
  bool anyList = false;
  for (const Batch& batch : file.native({"Hunter_PolygonPointsLat", "Hunter_PolygonPointsLat[2]", "Nano"}, options)) {
    const ColumnBuffers& list = batch.buffers(0);
    const ListColumn<double> points = batch.list<double>(0);
    const Column<double> second = batch.column<double>(1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(list.values) % 64, 0U);
    EXPECT_EQ(list.offsets[0], 0);
    EXPECT_EQ(list.valueCount, static_cast<std::size_t>(list.offsets[batch.rows()]));
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      EXPECT_EQ(points.size(row), points.valid(row) ? 24U : 0U);
      anyNull |= !points.valid(row);
      if (!points.valid(row)) continue;
      anyList = true;
      ASSERT_EQ(points.present(row, 2), second.present(row));
      EXPECT_EQ(points.valid(row, 2), second.valid(row));
      EXPECT_EQ(points.flags(row, 2), second.flags(row));
      if (second.valid(row)) {
        EXPECT_EQ(points.at(row, 2), second[row]);
      }
    }
  }
  EXPECT_TRUE(anyNull);
  EXPECT_TRUE(anyList);
  Reader reader = file.native("Nano");
  ASSERT_TRUE(reader.next());
  EXPECT_THROW((void)reader.batch().column<double>(0), Error);
  EXPECT_THROW((void)reader.batch().column<std::int64_t>(1), Error);
  EXPECT_THROW((void)reader.batch().list<std::int64_t>(0), Error);
}

TEST(BatchTest, MemoryIsUsedAgainOnlyWhenNobodyHoldsIt) {
  File file(dataPath("zint_plain_11.vrel"));
  Reader reader = file.native("0:Nano", {.batchRows = 64});
  std::vector<Batch> kept;
  std::vector<std::int64_t> values;
  while (reader.next()) {
    kept.push_back(reader.batch());
    for (std::size_t row = 0; row < kept.back().rows(); ++row) {
      values.push_back(kept.back().column<std::int64_t>(0)[row]);
    }
  }
  ASSERT_GT(kept.size(), 3U);
  std::size_t next = 0;
  for (const Batch& batch : kept) {
    for (std::size_t row = 0; row < batch.rows(); ++row) EXPECT_EQ(batch.column<std::int64_t>(0)[row], values[next++]);
  }
}

TEST(GridTest, ValuesAreThoseOfTheStore) {
  const std::string path = dataPath("nav_recording_11.vrel");
  File file(path);
  Testing::StoreReading reading(path);
  ASSERT_EQ(reading.subscribe(1, "Lat"), Sto::StoreStatus::Success);
  ASSERT_EQ(reading.subscribe(2, "Lat"), Sto::StoreStatus::Success);
  const Span span = file.span();
  std::vector<Nano> times;
  for (Nano time = span.start; time < span.end; time += 370'000'000) times.push_back(time);
  for (const Grid& grid : {Grid::every(370'000'000), Grid::at(times)}) {
    ASSERT_EQ(reading.store.seekAll(times.front()), Sto::StoreStatus::Success);
    std::size_t next = 0;
    for (const Batch& batch : file.grid({"1:Lat", "2:Lat"}, grid, {.flags = true, .batchRows = 7})) {
      for (std::size_t row = 0; row < batch.rows(); ++row, ++next) {
        ASSERT_LT(next, times.size());
        EXPECT_EQ(batch.time(row), times[next]);
        const std::vector<Lib::Sample> samples = reading.read(times[next]);
        for (std::size_t column = 0; column < 2; ++column) {
          EXPECT_EQ(batch.column<double>(column)[row], samples[column].as<double>());
          EXPECT_EQ(batch.column<double>(column).flags(row), samples[column].flags);
          EXPECT_EQ(batch.column<double>(column).valid(row), samples[column].usable());
        }
      }
    }
    EXPECT_EQ(next, times.size());
  }
  EXPECT_THROW(file.grid("1:Lat", Grid::at({span.start, span.start - 1})), Error);
  EXPECT_THROW(file.grid("1:Lat", 0), Error);
  EXPECT_THROW(file.native({"1:Lat", "2:Lat"}), Error) << "two streams make no one table";
}

}  // namespace
}  // namespace Kvex
