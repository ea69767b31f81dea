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

TEST(SignalChoiceTest, ChoosesInTheOrderOfTheLists) {
  const struct {
    const char* fault;
    SignalChoice choice;
    Strings names;
  } cases[] = {
      {"one name in several streams", {{"Lat"}, {}}, {"1:Lat", "2:Lat"}},
      {"a stream's number in the pattern", {{"2:Lat"}, {}}, {"2:Lat"}},
      {"streams asked for", {{"Lat"}, {1}}, {"1:Lat"}},
      {"patterns that overlap", {{"1:L[ao][tn]", "1:Lat"}, {}}, {"1:Lat", "1:Lon"}},
      {"patterns against the order of the list", {{"1:Lon", "1:Lat"}, {}}, {"1:Lat", "1:Lon"}},
      {"any characters, and one", {{"0:*_Lat*", "0:Nan?"}, {}}, {"0:GnssInt1_Latitude", "0:Nano"}},
      {"one character, not of a set", {{"0:ImuA[!xy]"}, {}}, {"0:ImuAz"}},
  };
  for (const auto& c : cases) EXPECT_EQ(namesOf(chooseSignals(navFile(), c.choice)), c.names) << c.fault;
  EXPECT_EQ(chooseSignals(navFile(), {{}, {0}}).size(), 7U) << "all of a stream";
}

TEST(SignalChoiceTest, ANameThatStandsTwiceIsChosenOnce) {
  const File file(dataPath("can_fd_11.vrel"));
  const std::vector<Signal> chosen = chooseSignals(file, {{"Nano*", "TimeWeek*"}, {}});
  Strings names = namesOf(chosen);
  EXPECT_EQ(names, (Strings{"0:TimeWeekSecond", "0:Nano", "0:NanoFromFirst", "0:NanoFromOrigin", "0:NanoFromStart",
                            "0:TimeWeekCount"}));
  EXPECT_EQ(chosen[3].type(), ValueType::Double) << "the type that is found first, at the place of the first row";
}

TEST(SignalChoiceTest, SaysWhatIsWrongWithAChoice) {
  const struct {
    SignalChoice choice;
    const char* message;
  } cases[] = {
      {{{"ImuAxx"}, {0}}, "no signal matches \"ImuAxx\"; did you mean ImuAx, ImuAy, ImuAz?"},
      {{{"Nano", "0:Latitud"}, {0}}, "no signal matches \"0:Latitud\"; did you mean GnssInt1_Latitude?"},
      {{{"qqqqqq"}, {}}, "no signal matches \"qqqqqq\"; \"vrel signals\" lists the names"},
      {{{"\033"}, {}}, "no signal matches \"?\"; \"vrel signals\" lists the names"},
      {{{"imuaz*"}, {0}}, "no signal matches \"imuaz*\"; did you mean ImuAz, ImuAx, ImuAy?"},
  };
  for (const auto& c : cases) {
    try {
      chooseSignals(navFile(), c.choice);
      ADD_FAILURE() << c.message;
    } catch (const Failure& failure) {
      EXPECT_STREQ(failure.what(), c.message);
    }
  }
  EXPECT_THROW(checkStreamIds(navFile(), {{}, {0, 3}}), Error);
  EXPECT_NO_THROW(checkStreamIds(navFile(), {{}, {0, 2}}));
}

TEST(TableFieldsTest, NamesAreShownSoThatNoTwoAreEqual) {
  const struct {
    const char* pattern;
    Strings keys;
  } cases[] = {
      {"1:Lat", {"Lat [°]"}},
      {"[12]:Lat", {}},
      {"Lat", {"1:Lat [°]", "2:Lat [°]"}},
  };
  for (const auto& c : cases) {
    Strings keys;
    for (const TableField& field : fieldsOf(navFile().match(c.pattern))) keys.push_back(field.key);
    EXPECT_EQ(keys, c.keys) << c.pattern;
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
