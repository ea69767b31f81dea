#include <gtest/gtest.h>

#include "support/Golden.h"
#include "tool/Failure.h"
#include "tool/SignalChoice.h"
#include "tool/TableFields.h"

namespace Kvex::Tool {

namespace {

using Support::dataPath;
using Strings = std::vector<std::string>;

/// A recording of three streams: 0 of self-describing signals, 1 and 2 of navigation signals.
const File& navFile() {
  static const File file(dataPath("nav_recording_11.vrel"));
  return file;
}

Strings namesOf(const std::vector<Signal>& signals) {
  Strings names;
  for (const Signal& signal : signals) names.push_back(signal.qualifiedName());
  return names;
}

TEST(SignalChoiceTest, ANameThatStandsTwiceIsChosenOnce) {
  const File file(dataPath("can_fd_11.vrel"));
  const std::vector<Signal> chosen = chooseSignals(file, {{"Nano*", "TimeWeek*"}, {}});
  EXPECT_EQ(namesOf(chosen), (Strings{"0:Nano", "0:NanoFromFirst", "0:NanoFromOrigin", "0:NanoFromStart",
                                      "0:TimeWeekSecond", "0:TimeWeekCount"}));
  EXPECT_EQ(chosen[2].type(), ValueType::Double) << "the type that is found first, at the place of the first row";
}

TEST(SignalChoiceTest, LongTablesHaveListingOrder) {
  const File file(dataPath("range_recording_11.vrel"));
  const Strings texts{"2:Lat", "Hunter_PolygonPointsLat[4]", "1:Lon", "Hunter_PolygonPointsLat[3]", "1:Lat"};
  EXPECT_EQ(namesOf(inListingOrder(file, file.choose(texts))),
            (Strings{"0:Hunter_PolygonPointsLat[3]", "0:Hunter_PolygonPointsLat[4]", "1:Lat", "1:Lon", "2:Lat"}));
}

TEST(SignalChoiceTest, SaysWhereTheNamesAre) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"qqqqqq", "no signal matches \"qqqqqq\"; \"vrel signals\" lists the names"},
      {"\033", "no signal matches \"?\"; \"vrel signals\" lists the names"},
  };
  for (const auto& c : cases) {
    try {
      chooseSignals(navFile(), {{c.text}, {}});
      ADD_FAILURE() << c.message;
    } catch (const Failure& failure) {
      EXPECT_STREQ(failure.what(), c.message);
    }
  }
  EXPECT_THROW(chooseSignals(navFile(), {{"ImuAxx"}, {0}}), Error) << "with names near to it";
}

TEST(TableFieldsTest, NamesAreShownSoThatNoTwoAreEqual) {
  const struct {
    Strings texts;
    bool qualified;
    Strings keys;
    Strings longNames;
  } cases[] = {
      {{"1:Lat"}, false, {"Lat [°]"}, {"Lat"}},
      {{"Lat"}, false, {"1:Lat [°]", "2:Lat [°]"}, {"Lat", "Lat"}},
      {{"1:Lat", "0:Nano"}, true, {"1:Lat [°]", "0:Nano [ns]"}, {"1:Lat", "0:Nano"}},
      {{"Lat"}, true, {"1:Lat [°]", "2:Lat [°]"}, {"1:Lat", "2:Lat"}},
  };
  for (const auto& c : cases) {
    Strings keys;
    Strings longNames;
    for (const TableField& field : fieldsOf(navFile().choose(c.texts), c.qualified)) {
      keys.push_back(field.key);
      longNames.push_back(field.longName);
      EXPECT_EQ(field.name.find(':'), std::string::npos);
    }
    EXPECT_EQ(keys, c.keys);
    EXPECT_EQ(longNames, c.longNames);
  }
}

TEST(TableFieldsTest, AnArrayHasAFieldForEachElement) {
  const File file(dataPath("yeld_polygon_pieces_11.yeld"));
  const std::vector<Signal> signals{file.signal("Hunter_IsoPolygonPointsPcX"), file.signal("Nano")};
  const std::vector<TableField> fields = fieldsOf(signals);
  ASSERT_EQ(fields.size(), 25U);
  EXPECT_EQ(fields[23].name, "Hunter_IsoPolygonPointsPcX[23]");
  EXPECT_EQ(fields[23].key, "Hunter_IsoPolygonPointsPcX[23] [m]");
  EXPECT_EQ(fields[23].flagsKey, "Hunter_IsoPolygonPointsPcX[23] flags");
  EXPECT_EQ(fields[23].element, 23U);
  EXPECT_EQ(fields[24].signal, 1U);
}

}  // namespace

}  // namespace Kvex::Tool
