#include <gtest/gtest.h>
#include <kvex/File.h>

#include "support/Golden.h"
#include "tool/TableFormatter.h"

namespace Kvex::Tool {

namespace {

using Support::dataPath;

ReadOptions withStates() {
  ReadOptions options;
  options.flags = true;
  options.stamps = true;
  return options;
}

/// The samples of a batch, one by one as its columns hand them out.
std::vector<TableSample> plainSamples(const Batch& batch) {
  std::vector<TableSample> samples;
  for (std::size_t row = 0; row < batch.rows(); ++row) {
    std::uint32_t field = 0;
    for (std::size_t column = 0; column < batch.columns(); ++column) {
      const Signal& signal = batch.signals()[column];
      const LoadBits load = loaderOf(signal.type());
      const ColumnBuffers& memory = batch.buffers(column);
      for (std::uint32_t element = 0; element < signal.count(); ++element, ++field) {
        if (!bitAt(memory.present, row)) continue;
        const std::size_t place = memory.isList ? static_cast<std::size_t>(memory.offsets[row]) + element : row;
        if (memory.isList && !bitAt(memory.childPresent, place)) continue;
        samples.push_back(
            {batch.time(row), memory.stamps[place], load(memory.values, place), field, memory.flags[place]});
      }
    }
  }
  return samples;
}

TEST(SamplesByRowTest, TakesEachSampleInItsPlace) {
  for (const char* name : {"yeld_polygon_pieces_11.yeld", "can_absolute_11.vrel", "quon_mode_mix_11.quon"}) {
    for (const std::size_t rows : {1, 63, 64, 65, 1000}) {
      File file(dataPath(name));
      ReadOptions options = withStates();
      options.batchRows = rows;
      Reader reader = file.native("0:*", options);
      for (int batches = 0; batches < 4 && reader.next(); ++batches) {
        const std::vector<TableSample> expected = plainSamples(reader.batch());
        std::vector<TableSample> samples(3);
        appendSamples(samples, reader.batch(), 0);
        ASSERT_EQ(samples.size(), expected.size() + 3) << name << ", rows " << rows;
        for (std::size_t i = 0; i < expected.size(); ++i) {
          ASSERT_EQ(samples[i + 3].time, expected[i].time);
          ASSERT_EQ(samples[i + 3].field, expected[i].field);
          ASSERT_EQ(samples[i + 3].stamp, expected[i].stamp);
          ASSERT_EQ(samples[i + 3].bits, expected[i].bits);
          ASSERT_EQ(samples[i + 3].flags, expected[i].flags);
        }
      }
    }
  }
}

/// The table of some signals of a file, cut to its first lines.
std::string tableOf(const char* name, const SignalList& list, const TableStyle& style, int lines) {
  File file(dataPath(name));
  const std::vector<Signal> signals = file.resolve(list);
  TableFormatter formatter(style, signals, file.span().start);
  fmt::memory_buffer buffer;
  formatter.appendHeader(buffer);
  Reader reader = file.native(signals, withStates());
  if (reader.next() && style.shape == TableShape::Wide) formatter.appendRows(buffer, reader.batch());
  if (style.shape == TableShape::Long) {
    std::vector<TableSample> samples;
    appendSamples(samples, reader.batch(), 0);
    formatter.appendRecords(buffer, samples);
  }
  const std::string text = fmt::to_string(buffer);
  std::size_t end = 0;
  while (lines-- > 0) end = text.find('\n', end) + 1;
  return text.substr(0, end);
}

TEST(TableFormatterTest, WritesEachStyle) {
  constexpr TableFormat kCsv = TableFormat::Csv;
  constexpr TableFormat kJson = TableFormat::Ndjson;
  constexpr TableShape kWide = TableShape::Wide;
  constexpr TableShape kLong = TableShape::Long;
  const SignalList imu{"GnssInt1_Altitude", "ImuAx"};
  const struct {
    const char* fault;
    TableStyle style;
    int lines;
    const char* text;
  } cases[] = {
      {"cells without a sample are empty",
       {.format = kCsv, .shape = kWide},
       3,
       "time,GnssInt1_Altitude [m],ImuAx [m s⁻²]\n1417651425000000000,118.484215,\n1417651425000000000,,0\n"},
      {"and have no flags",
       {.format = kCsv, .shape = kWide, .time = TimeForm::Elapsed, .flags = true},
       3,
       "time,GnssInt1_Altitude [m],GnssInt1_Altitude flags,ImuAx [m s⁻²],ImuAx flags\n0,118.484215,0,,\n0,,,0,0\n"},
      {"null in JSON",
       {.format = kJson, .shape = kWide, .flags = true},
       1,
       "{\"time\":1417651425000000000,\"GnssInt1_Altitude [m]\":118.484215,\"GnssInt1_Altitude flags\":0,"
       "\"ImuAx [m s⁻²]\":null,\"ImuAx flags\":null}\n"},
      {"a record for each sample",
       {.format = kCsv, .shape = kLong},
       3,
       "time,stream,signal,flags,stamp,value\n"
       "1417651425000000000,0,GnssInt1_Altitude,0,1417651425000000000,118.484215\n"
       "1417651425000000000,0,ImuAx,0,1417651425000000000,0\n"},
      {"delimiter and decimal sign",
       {.shape = kWide, .time = TimeForm::Elapsed, .csv = {';', ',', true}},
       3,
       "\xEF\xBB\xBFtime;GnssInt1_Altitude [m];ImuAx [m s⁻²]\n0;118,484215;\n0;;0\n"},
      {"in long tables too",
       {.shape = kLong, .csv = {'|', ',', false}},
       2,
       "time|stream|signal|flags|stamp|value\n"
       "1417651425000000000|0|GnssInt1_Altitude|0|1417651425000000000|118,484215\n"},
      {"a name with the delimiter in it is quoted, and a time",
       {.shape = kWide, .time = TimeForm::Utc, .csv = {':', '.', false}},
       2,
       "time:GnssInt1_Altitude [m]:ImuAx [m s⁻²]\n\"2024-12-08T00:03:27.000000000Z\":118.484215:\n"},
      {"names are quoted for the delimiter",
       {.shape = kWide, .csv = {' ', '.', false}},
       1,
       "time \"GnssInt1_Altitude [m]\" \"ImuAx [m s⁻²]\"\n"},
      {"JSON knows no dialect",
       {.format = kJson, .shape = kWide, .csv = {';', ',', true}},
       1,
       "{\"time\":1417651425000000000,\"GnssInt1_Altitude [m]\":118.484215,\"ImuAx [m s⁻²]\":null}\n"},
      {"times in quotes",
       {.format = kJson, .shape = kLong, .time = TimeForm::Utc},
       1,
       "{\"time\":\"2024-12-08T00:03:27.000000000Z\",\"stream\":0,\"signal\":\"GnssInt1_Altitude\",\"flags\":0,"
       "\"stamp\":\"2024-12-08T00:03:27.000000000Z\",\"value\":118.484215}\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(tableOf("zint_plain_11.vrel", imu, c.style, c.lines), c.text) << c.fault;
}

TEST(TableFormatterTest, TextsStandInPlaceOfValues) {
  const TableStyle texts{.valueTexts = true};
  EXPECT_EQ(tableOf("quon_triggers_11.quon", "Nano", texts, 2),
            "time,Nano [ns]\n1199999998142808000,2018-01-14 21:19:40.142\n");
  const TableStyle json{.format = TableFormat::Ndjson, .shape = TableShape::Long, .valueTexts = true};
  EXPECT_NE(tableOf("quon_triggers_11.quon", "Nano", json, 1).find("\"value\":\"2018-01-14 21:19:40.142\"}"),
            std::string::npos);
}

TEST(TableFormatterTest, UnusableValuesStandInLongTablesOnly) {
  const SignalList lat("0:Lat");
  const TableStyle wide{.flags = true};
  const TableStyle records{.shape = TableShape::Long};
  EXPECT_NE(tableOf("quon_mode_mix_11.quon", lat, wide, 600).find(",,2\n"), std::string::npos);
  EXPECT_EQ(tableOf("quon_mode_mix_11.quon", lat, records, 600).find(",\n"), std::string::npos);
}

}  // namespace

}  // namespace Kvex::Tool
