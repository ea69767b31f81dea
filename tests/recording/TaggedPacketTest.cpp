#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recording/TaggedPacket.h"

namespace Kvex::Com {
namespace {

using testing::ElementsAre;
using testing::Pair;

using Kind = TaggedPacket::Kind;
using Values = std::map<std::string, std::string, std::less<>>;

TEST(TaggedPacketTest, TakesTagsAndBodiesApart) {
  const struct {
    std::string bytes;
    Kind kind;
    std::string tag;
    std::string data;
    Values values = {};
  } cases[] = {
      {"[Kvex-Quon]headers=2\r\n", Kind::Primary, "[Kvex-Quon]", "", {{"headers", "2"}}},
      {"[Kvex-Can]", Kind::Primary, "[Kvex-Can]", ""},
      {"{T}a=b=c", Kind::KeyValue, "{T}", "", {{"a", "b=c"}}},
      {"{T}a=1\na=2", Kind::KeyValue, "{T}", "", {{"a", "1"}}},
      {"{T}\n\x01=v\n\nk=\nnone\n a b = c ", Kind::KeyValue, "{T}", "", {{"", "v"}, {"k", ""}, {" a b ", " c "}}},
      {"{T}name=caf\xC3\xA9=x", Kind::KeyValue, "{T}", "", {{"name", "caf"}, {"", "x"}}},
      {std::string("{T}a=1\0b=2", 10), Kind::KeyValue, "{T}", "", {{"a", "1"}, {"b", "2"}}},
      {"(Kvex-Can-Dbc)BO_ 1 a=b", Kind::Round, "(Kvex-Can-Dbc)", "BO_ 1 a=b"},
      {"<T>a=b", Kind::Angle, "<T>", "a=b"},
      {"|T|a=b", Kind::Bar, "|T|", "a=b"},
      {"[a[b<c(d{e]", Kind::Primary, "[a[b<c(d{e]", ""},
      // No valid tag: the bytes stay as they are.
      {"", Kind::Invalid, "", ""},
      {"abc", Kind::Invalid, "", "abc"},
      {"[Kvex/x]a=b", Kind::Invalid, "", "[Kvex/x]a=b"},
      {"{Kvex|}", Kind::Invalid, "", "{Kvex|}"},
      {"[Kvex-Quon", Kind::Invalid, "", "[Kvex-Quon"},
      {"]x]", Kind::Invalid, "", "]x]"},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.bytes);
    const TaggedPacket packet(expected.bytes);
    EXPECT_EQ(packet.kind, expected.kind);
    EXPECT_EQ(packet.tag, expected.tag);
    EXPECT_EQ(packet.data, expected.data);
    EXPECT_EQ(packet.values, expected.values);
    const bool valid = expected.kind != Kind::Invalid;
    EXPECT_EQ(packet.open, valid ? expected.bytes.front() : '?');
    EXPECT_EQ(packet.close, valid ? expected.tag.back() : '?');
  }
}

TEST(TaggedPacketTest, ReadsJsonBodies) {
  const std::string brackets(1000, '[');
  const auto nested = [](int depth) {
    return std::string(static_cast<std::size_t>(depth), '[') + std::string(static_cast<std::size_t>(depth), ']');
  };
  const struct {
    std::string body;
    bool parses;
  } cases[] = {
      {R"({"V": 1})", true},
      {R"({"V": 1)", false},
      {"", false},
      {"{} {}", false},
      {"[\"\xC3\"]", false},
      {nested(TaggedPacket::kMaxJsonDepth), true},
      {nested(TaggedPacket::kMaxJsonDepth + 1), false},
      {"[\"" + brackets + "\\\"" + brackets + "\"]", true},
      {"[\"\\\\\", " + nested(TaggedPacket::kMaxJsonDepth) + "]", false},
      {std::string(1 << 20, '['), false},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.body.substr(0, 40));
    const TaggedPacket packet("/T/" + expected.body);
    EXPECT_EQ(packet.kind, Kind::Json);
    EXPECT_EQ(packet.data, expected.body);
    EXPECT_EQ(packet.document.is_null(), !expected.parses);
  }
}

TEST(TaggedPacketTest, ReadsNumbers) {
  const struct {
    std::string text;
    bool reads;
    std::uint32_t number;
  } cases[] = {
      {"2", true, 2}, {"007x", true, 7}, {"4294967295", true, UINT32_MAX},   {"4294967296", false, 0},
      {"", false, 0}, {"x2", false, 0},  {"99999999999999999999", false, 0},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.text);
    std::uint32_t number = 99;
    EXPECT_EQ(TaggedPacket("[T]n=" + expected.text).getUnsigned("n", number), expected.reads);
    EXPECT_EQ(number, expected.number);
  }
  std::uint32_t number = 99;
  std::string text = "x";
  EXPECT_FALSE(TaggedPacket("[T]N=1").getUnsigned("n", number));
  EXPECT_FALSE(TaggedPacket("[T]N=1").getText("n", text));
  EXPECT_EQ(number, 0U);
  EXPECT_EQ(text, "");
}

TEST(TaggedPacketTest, HeaderCountsItsPackets) {
  TaggedHeader header;
  header.primary = TaggedPacket("[T]headers=7\na=1");
  header.addHeader(TaggedPacket("{A}n=1"));
  header.addHeader(TaggedPacket("{B}n=2"));
  header.addHeader(TaggedPacket("{A}n=3"));
  EXPECT_THAT(header.primary.values, ElementsAre(Pair("a", "1"), Pair("headers", "3")));
  EXPECT_EQ(header.findHeader("{A}"), &header.headers[0]);
  EXPECT_EQ(header.findHeader("{a}"), nullptr);

  header.headers[0].setNumber("n", INT64_MIN);
  header.headers[0].setNumber("m", UINT64_MAX);
  EXPECT_THAT(header.headers[0].values,
              ElementsAre(Pair("m", "18446744073709551615"), Pair("n", "-9223372036854775808")));
}

}  // namespace
}  // namespace Kvex::Com
