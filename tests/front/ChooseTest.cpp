// What typed texts choose among the signals of a file.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>

#include "support/Golden.h"

namespace Kvex {
namespace {

using Support::dataPath;
using Strings = std::vector<std::string>;

Strings namesOf(const std::vector<Signal>& signals) {
  Strings names;
  for (const Signal& signal : signals) names.push_back(signal.qualifiedName());
  return names;
}

/// A range stream, 0, and navigation streams, 1 to 3.
const File& rangeFile() {
  static const File file(dataPath("range_recording_11.vrel"));
  return file;
}

TEST(ChooseTest, TriesNamesThenListsThenPatterns) {
  const std::string kAxis = "0:Hunter_PolygonPointsLat";
  const struct {
    const char* fault;
    Strings texts;
    Strings names;
  } cases[] = {
      {"the order of the texts", {"1:Lon", "1:Lat"}, {"1:Lon", "1:Lat"}},
      {"a name of several streams", {"Lat"}, {"1:Lat", "2:Lat", "3:Lat"}},
      {"said of all streams", {"*:Lat"}, {"1:Lat", "2:Lat", "3:Lat"}},
      {"as a header shows it", {"2:Lat [°]"}, {"2:Lat"}},
      {"without the stream", {"Lat [°]"}, {"1:Lat", "2:Lat", "3:Lat"}},
      {"another unit", {"2:Lat [°]", "2:Speed2d [m s⁻¹]"}, {"2:Lat", "2:Speed2d"}},
      {"a list", {"2:Lon,2:Lat"}, {"2:Lon", "2:Lat"}},
      {"a list with blanks, units and elements", {"2:Lon [°], Hunter_PolygonPointsLat[3]"}, {"2:Lon", kAxis + "[3]"}},
      {"an element with its unit", {"Hunter_PolygonPointsLat[3] [m]"}, {kAxis + "[3]"}},
      {"an element of a stream", {"0:Hunter_PolygonPointsLat[0]"}, {kAxis + "[0]"}},
      {"matches in the order of the listing", {"2:Speed[32]d"}, {"2:Speed2d", "2:Speed3d"}},
      {"a comma in a set", {"2:Speed[3,2]d"}, {"2:Speed2d", "2:Speed3d"}},
      {"a pattern of all streams", {"*:Speed2?"}, {"1:Speed2d", "2:Speed2d", "3:Speed2d"}},
      {"a pattern with a unit", {"2:Speed?d [m s⁻¹]"}, {"2:Speed2d", "2:Speed3d"}},
      {"elements by pattern", {"Hunter_PolygonPointsLa?[3]"}, {kAxis + "[3]"}},
      {"letter case where nothing matches", {"2:speed2d", "2:LA?"}, {"2:Speed2d", "2:Lat"}},
      {"what comes twice", {"2:Lon", "2:L[ao][tn]", "2:Lon"}, {"2:Lon", "2:Lat"}},
      {"an element twice", {"Hunter_PolygonPointsLat[3]", "Hunter_PolygonPointsLat[3]"}, {kAxis + "[3]"}},
      {"an element of an array that is there", {"Hunter_PolygonPointsLat", "Hunter_PolygonPointsLat[3]"}, {kAxis}},
  };
  for (const auto& c : cases) EXPECT_EQ(namesOf(rangeFile().choose(c.texts)), c.names) << c.fault;
  EXPECT_EQ(namesOf(rangeFile().choose({})), namesOf(rangeFile().match("*")));
  EXPECT_EQ(namesOf(rangeFile().choose({"Lat"}, {3, 2})), (Strings{"2:Lat", "3:Lat"}));
  const std::vector<Signal> rest = rangeFile().choose({"Hunter_PolygonPointsLat[3]", "Hunter_PolygonPointsLat"});
  ASSERT_EQ(rest.size(), 24U) << "the other elements of an array";
  EXPECT_EQ(rest[0].element(), 3U);
  EXPECT_EQ(rest[1].element(), 0U);
  EXPECT_EQ(rest[4].element(), 4U);
}

TEST(ChooseTest, WhatIsPrintedCanBeTyped) {
  for (const Signal& signal : rangeFile().match("*")) {
    const std::string unit = signal.unit().empty() ? "" : " [" + signal.unit() + "]";
    EXPECT_EQ(rangeFile().choose({signal.qualifiedName() + unit}), std::vector<Signal>{signal});
    if (signal.isArray()) {
      EXPECT_EQ(rangeFile().choose({signal.at(1).qualifiedName() + unit}), std::vector<Signal>{signal.at(1)});
    }
  }
}

TEST(ChooseTest, SaysWhatIsWrong) {
  const struct {
    const char* text;
    ErrorCode code;
    const char* reason;
  } cases[] = {
      {"Speed2e", ErrorCode::NoSuchSignal, "did you mean Speed2d"},
      {"2:Lat,Speed2e", ErrorCode::NoSuchSignal, "\"Speed2e\""},
      {"Hunter_PolygonPointsLat[24]", ErrorCode::NoSuchSignal, "has 24 elements, numbered from 0"},
      {"Hunter_PolygonPointsLat[x]", ErrorCode::NoSuchSignal, "has 24 elements, numbered from 0"},
      {"0:Hunter_PolygonPointsLat[24] [m]", ErrorCode::NoSuchSignal, "has 24 elements, numbered from 0"},
      {"2:Lat [m]", ErrorCode::NoSuchSignal, "did you mean Lat"},
      {"9:Lat", ErrorCode::NoSuchStream, "9"},
      {"", ErrorCode::InvalidArgument, "empty"},
      {"2:Lat,", ErrorCode::InvalidArgument, "empty"},
  };
  for (const auto& c : cases) {
    try {
      rangeFile().choose({c.text});
      ADD_FAILURE() << c.text;
    } catch (const Error& error) {
      EXPECT_EQ(nameOf(error.code()), nameOf(c.code)) << c.text;
      EXPECT_THAT(error.reason(), testing::HasSubstr(c.reason)) << c.text;
    }
  }
  EXPECT_THROW(rangeFile().choose({"Lat"}, {9}), Error);
  EXPECT_THROW(rangeFile().choose({"1:Lat"}, {2}), Error) << "a signal of a stream that is left out";
}

}  // namespace
}  // namespace Kvex
