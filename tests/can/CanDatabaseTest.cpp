// The reader of CAN databases: what it keeps of good lines and what it drops of bad ones.

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "can/CanDatabase.h"

namespace Kvex::Can {

namespace {

using Lib::ValueType;

const std::string kMessage = "BO_ 100 Message: 8 Sender\n";

/// The signals of one message with this line.
std::vector<CanSignal> signalsOf(const std::string& line) {
  static CanDatabase database;  // holds the texts that the signals show
  database = CanDatabase(kMessage + line);
  return {database.signals().begin(), database.signals().end()};
}

TEST(CanDatabaseTest, ReadsSignalLines) {
  struct Case {
    const char* line;
    const char* name;
    MuxKind muxKind;
    std::int32_t muxValue, lowBit, highBit;
    ValueType type;
    const char* unit;
    const char* receivers;
  };
  const Case cases[] = {
      {"SG_ A : 7|8@0+ (1,0) [0|100] \"km/h\" X,Y", "A", MuxKind::Plain, 0, 504, 511, ValueType::UInt64, "km/h", "X,Y"},
      {"SG_ A : 0|8@1- (1,0) [0|0] \" %\t\" \tX ", "A", MuxKind::Plain, 0, 0, 7, ValueType::Int64, "%", "X"},
      {"\t SG_ A:0|16@0-( 1 , 0 )[ 0 | 1 0 0 ]\"\"", "A", MuxKind::Plain, 0, 489, 504, ValueType::Int64, "", ""},
      {"SG_ A : 0|8@1+ (1,0) [0|100.0] \"\" X", "A", MuxKind::Plain, 0, 0, 7, ValueType::Double, "", "X"},
      {"SG_ A : 0|8@1+ (1E1,0) [0|1] \"\" X", "A", MuxKind::Plain, 0, 0, 7, ValueType::Double, "", "X"},
      {"SG_ A M : 0|8@1+ (1,0) [0|1] \"\" X", "A", MuxKind::Switch, 0, 0, 7, ValueType::UInt64, "", "X"},
      {"SG_ A m12 : 0|8@1+ (1,0) [0|1] \"\" X", "A", MuxKind::Multiplexed, 12, 0, 7, ValueType::UInt64, "", "X"},
      {"SG_ A m0M more : 0|8@1+ (1,0) [0|1] \"\" X", "A", MuxKind::Multiplexed, 0, 0, 7, ValueType::UInt64, "", "X"},
      {"SG_ : 511|512@3* (1,0) [0|1] \"\" X", "", MuxKind::Plain, 0, 511, 1022, ValueType::UInt64, "", "X"},
      {"SG_ A : 7|512@0 -(1,0) [0|1] \"\" X", "A", MuxKind::Plain, 0, 0, 511, ValueType::UInt64, "", "X"},
      {"SG_ A : +3| 0@ 1+ (1,0) [0|1] \"a \"b\" c\" X", "A", MuxKind::Plain, 0, 3, 2, ValueType::UInt64, "a \"b\" c",
       "X"},
      {"SG_ A : 0|8@1+ (1,0) [0|1] \" X", "A", MuxKind::Plain, 0, 0, 7, ValueType::UInt64, "", "X"},
      {"SG_ A : 0|8@1+ (1,0) [0|1] \"m\x01s\" X", "A", MuxKind::Plain, 0, 0, 7, ValueType::UInt64, "m?s", "X"},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.line);
    const auto signals = signalsOf(expected.line);
    ASSERT_EQ(signals.size(), 1U);
    const CanSignal& signal = signals[0];
    EXPECT_EQ(signal.name, expected.name);
    EXPECT_EQ(signal.muxKind, expected.muxKind);
    EXPECT_EQ(signal.muxValue, expected.muxValue);
    EXPECT_EQ(signal.lowBit, expected.lowBit);
    EXPECT_EQ(signal.highBit, expected.highBit);
    EXPECT_EQ(signal.valueType, expected.type);
    EXPECT_EQ(signal.unit, expected.unit);
    EXPECT_EQ(signal.receivers, expected.receivers);
  }
}

TEST(CanDatabaseTest, DropsSignalLinesItCannotUse) {
  const char* const lines[] = {
      "SG_",
      "SG_ A",
      "sg_ A : 0|8@1+ (1,0) [0|1] \"\" X",
      "SG_A : 0|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A x : 0|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A m : 0|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A m-1 : 0|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A m1x : 0|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A 0|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A : 512|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A : -1|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A : 0|513@1+ (1,0) [0|1] \"\" X",
      "SG_ A : 99999999999999999999|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A : 4294967296|8@1+ (1,0) [0|1] \"\" X",
      "SG_ A : 0 |8@1+ (1,0) [0|1] \"\" X",
      "SG_ A : 0|8 (1,0) [0|1] \"\" X",
      "SG_ A : 0|8@1 (1,0) [0|1] \"\" X",
      "SG_ A : 0|8@+ (1,0) [0|1] \"\" X",
      "SG_ A : 504|9@0+ (1,0) [0|1] \"\" X",  // runs past the longest frame
      "SG_ A : 0|8@1+ [0|1] \"\" X",
      "SG_ A : 0|8@1+ (1,) [0|1] \"\" X",
      "SG_ A : 0|8@1+ (1;0) [0|1] \"\" X",
      "SG_ A : 0|8@1+ (1,0 [0|1] \"\" X",
      "SG_ A : 0|8@1+ (1,0) \"\" X",
      "SG_ A : 0|8@1+ (1,0) [0|max] \"\" X",
      "SG_ A : 0|8@1+ (inf,0) [0|1] \"\" X",
      "SG_ A : 0|8@1+ (1,0) [0|1 \"\" X",
      "SG_ A : 0|8@1+ (1,0) [0|1] X",
      "SG_ A( : 0|8@1+ (1,0) [0|1] \"\" X",
  };
  for (const char* line : lines) EXPECT_TRUE(signalsOf(line).empty()) << line;
}

TEST(CanDatabaseTest, ReadsNumbersInAllForms) {
  struct Case {
    const char* text;
    bool isFloat;
    std::uint64_t asUnsigned;
    std::int64_t asSigned;
    double asDouble;
  };
  const Case cases[] = {
      {"18446744073709551615", false, UINT64_MAX, 0, 18446744073709551615.0},
      {"18446744073709551616", false, 0, 0, 18446744073709551616.0},
      {"-9223372036854775808", false, std::uint64_t{1} << 63, INT64_MIN, -0x1p63},
      {" - 3 ", false, UINT64_MAX - 2, -3, -3},
      {"\t1\n2\v3\f4\r", false, 1234, 1234, 1234},
      {"+7", false, 7, 7, 7},
      {".5", true, 0, 0, 0.5},
      {"2.", true, 2, 2, 2},
      {"1E-05", true, 1, 1, 1e-5},
      {"1e999", true, 1, 1, 0},
      {"12abc", true, 12, 12, 12},
      {"3x", false, 3, 3, 3},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.text);
    const auto number = CanNumber::parse(expected.text);
    ASSERT_TRUE(number);
    EXPECT_EQ(number->isFloat, expected.isFloat);
    EXPECT_EQ(number->asUnsigned, expected.asUnsigned);
    EXPECT_EQ(number->asSigned, expected.asSigned);
    EXPECT_EQ(number->asDouble, expected.asDouble);
  }
  for (std::size_t digits = 1; digits <= 8; ++digits) {  // a blank at any place, and what is next to blanks
    const std::string ones(digits, '1');
    const auto whole = CanNumber::parse(ones)->asUnsigned;
    for (const char blank : {' ', '\t', '\n', '\v', '\f', '\r'}) {
      EXPECT_EQ(CanNumber::parse(ones + blank + '2')->asUnsigned, 10 * whole + 2) << digits << ' ' << +blank;
    }
    for (const char other : {'\b', '\x0E', '!'}) {
      EXPECT_EQ(CanNumber::parse(ones + other + '2')->asUnsigned, whole) << digits << ' ' << +other;
    }
  }
  for (const char* text : {"", " ", "x1", "-", ".", "nan", "--1", "\b1",
                           "\x0E"
                           "1"})
    EXPECT_FALSE(CanNumber::parse(text)) << text;
}

TEST(CanDatabaseTest, KeepsMessagesAndDropsTheirSignalsWithThem) {
  const std::string signal = " SG_ S : 0|8@1+ (1,0) [0|1] \"\" X\r";
  const CanDatabase database(
      "CM_ SG_ 2 S \"before its message\";\n"
      "SG_ S : 0|8@1+ (1,0) [0|1] \"\" X\n"
      "BU_ : A B \n"
      "BO_ 1 N: 8 X\n" +
      signal + "BO_ 2 N : 8 X\n" + signal + signal + "BO_ 1 Twin: 8 X\n" + signal +  // id taken
      "BO_ 3 NoSize: X\n" + signal + "BO_ x NoId: 8 X\n" + signal + "BO_ 4 NoColon 8 X\n" + signal + "BO_ 5 : 8 X\n" +
      signal +  // no name
      "BO_ 6 NoSender: 8\n" + signal + "BO_ 4294967295 " + std::string(300, 'L') + ":8X\n" + signal +
      "CM_ BO_ 1 \"one\" ;\nCM_ BO_ 1 \"\";\nCM_ BO_ 2 \"goes on\n in \"a line\" without effect\";\n"
      "CM_ BO_ 2 no quotes\nCM_ BO_ 99 \"unknown\"\nCM_ \"database\"\nCM_ BU_ A \"node\"\nCM_ BO_ 99999999999 "
      "\"large\"\n"
      "CM_ SG_ 1 S \"gone\"\nCM_ SG_ 1 S \"\"\nCM_ SG_ 1 T \"no such signal\"\nCM_ SG_ -1 S \"wrapped\"\nCM_");
  ASSERT_EQ(database.messages().size(), 3U);
  EXPECT_EQ(database.nodes(), "A B");
  const CanMessage& first = database.messages()[0];
  const CanMessage& second = database.messages()[1];
  const CanMessage& last = database.messages()[2];
  EXPECT_EQ(first.label(), "N");
  EXPECT_EQ(first.comment, "one");
  EXPECT_EQ(second.label(), "N.1");
  EXPECT_EQ(second.comment, "goes on");
  EXPECT_EQ(last.name.size(), 255U);
  EXPECT_EQ(last.sender, "X");
  EXPECT_EQ(database.find(UINT32_MAX), &last);
  EXPECT_EQ(database.find(3), nullptr);

  ASSERT_EQ(database.signals().size(), 4U);
  EXPECT_EQ(database.signalsOf(second).size(), 2U);
  EXPECT_EQ(database.signals()[3].label(), "S.3");
  std::vector<std::string_view> comments;
  for (const CanSignal& kept : database.signals()) comments.push_back(kept.comment);
  EXPECT_EQ(comments, (std::vector<std::string_view>{"", "before its message", "before its message", "wrapped"}));
}

TEST(CanDatabaseTest, StandsAnySize) {
  std::string text;
  for (int id = 0; id < 100'000; ++id) {
    text += "BO_ " + std::to_string(id) + " N: 8 X\n";
    if (id < 20'000) text += "SG_ S : 0|8@1+ (1,0) [0|1] \"\" X\nCM_ SG_ " + std::to_string(id) + " S \"c\"\n";
  }
  const std::string line(1'000'000, '9');
  text += "BO_ " + line + " N: 8 X\nSG_ A : 0|8@1+ (" + line + ",0) [0|1] \"" + line + "\" X\n" + line;
  const CanDatabase many(text);
  EXPECT_EQ(many.messages().size(), CanDatabase::kMaxMessages);
  EXPECT_EQ(many.signals().size(), CanDatabase::kMaxMessages);
  EXPECT_EQ(many.messages().back().label(), "N.1023");

  text = kMessage;
  for (std::size_t count = 0; count < CanDatabase::kMaxSignals + 5; ++count) {
    text += "SG_ S : 0|8@1+ (1,0) [0|1] \"\" X\n";
  }
  const CanDatabase wide(text + "CM_ SG_ 100 S \"all\"");
  EXPECT_EQ(wide.signals().size(), CanDatabase::kMaxSignals);
  EXPECT_EQ(wide.signals().back().comment, "all");

  const CanDatabase longLine(kMessage + "SG_ Over : 0|8@1+ (" + line +
                             ",0) [0|1] \"\" X\nSG_ A : 0|8@1+ (1,0) [0|1] \"" + line + "\"");
  ASSERT_EQ(longLine.signals().size(), 1U);
  EXPECT_EQ(longLine.signals()[0].unit.size(), line.size());
  EXPECT_EQ(CanDatabase(std::string_view("\0\xFF\n\0", 4)).messages().size(), 0U);
}

}  // namespace

}  // namespace Kvex::Can
