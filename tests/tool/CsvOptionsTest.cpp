#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "tool/CsvOptions.h"
#include "tool/Failure.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

TEST(CsvOptionsTest, TakesDelimitersThatNoNumberHas) {
  for (const char* text : {",", ";", "|", ":", ".", " ", "\t", "!"}) EXPECT_EQ(delimiterFrom(text), *text) << text;
  EXPECT_EQ(delimiterFrom("tab"), '\t');
  EXPECT_EQ(delimiterFrom("\\t"), '\t');
  for (const char* text : {"", ";;", "\"", "\n", "\r", "-", "+", "e", "N", "5", "ö", "\x7F", "\x01"}) {
    EXPECT_EQ(delimiterFrom(text), std::nullopt) << text;
  }
}

TEST(CsvOptionsTest, WhatIsAskedForOverrulesTheDialect) {
  const struct {
    const char* fault;
    CsvOptions options;
    CsvDialect dialect;
  } cases[] = {
      {"nothing is asked for", {}, {',', '.', false}},
      {"a spreadsheet's own", {.spreadsheet = true}, {';', ',', true}},
      {"a point in a spreadsheet", {.spreadsheet = true, .decimal = '.'}, {';', '.', true}},
      {"tabs in a spreadsheet", {.spreadsheet = true, .delimiter = '\t'}, {'\t', ',', true}},
      {"both", {.delimiter = ';', .decimal = ','}, {';', ',', false}},
  };
  for (const auto& c : cases) EXPECT_EQ(dialectOf(c.options), c.dialect) << c.fault;
  EXPECT_EQ(dialectOf({.decimal = ','}, {.delimiter = '\t'}), (CsvDialect{'\t', ',', false})) << "that of a format";
}

TEST(CsvOptionsTest, DelimiterAndDecimalSignDiffer) {
  const CsvOptions clashes[] = {{.decimal = ','},
                                {.delimiter = '.'},
                                {.spreadsheet = true, .delimiter = ','},
                                {.delimiter = ',', .decimal = ','}};
  for (const CsvOptions& options : clashes) {
    try {
      dialectOf(options);
      ADD_FAILURE() << "accepted";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.exit, VrelExit::WrongUsage);
    }
  }
}

TEST(CsvOptionsTest, WarnsBeyondASpreadsheetsLimits) {
  EXPECT_EQ(spreadsheetWarning(1'048'576, 16'384), "");
  EXPECT_EQ(
      spreadsheetWarning(1'048'577, 3),
      "the table has 1,048,577 rows and 3 columns; a spreadsheet takes the first 1,048,576 rows and 16,384 columns");
  EXPECT_NE(spreadsheetWarning(1, 16'385), "");
}

TEST(CsvFieldTest, QuotesWhatWouldEndTheField) {
  EXPECT_EQ(csvField("a,b"), "\"a,b\"");
  EXPECT_EQ(csvField("a,b", ';'), "a,b");
  EXPECT_EQ(csvField("a;b", ';'), "\"a;b\"");
  EXPECT_EQ(csvField("a|\"b\"", '|'), "\"a|\"\"b\"\"\"");
  EXPECT_EQ(csvField("a\nb", '\t'), "\"a\nb\"");
}

}  // namespace

}  // namespace Kvex::Tool
