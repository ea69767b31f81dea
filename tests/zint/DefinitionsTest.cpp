#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "library/Enumerations.h"
#include "zint/Definitions.h"

namespace Kvex::Zint {
namespace {

using nlohmann::json;

std::string typeName(ValueType type) {
  return std::string(Lib::kValueTypeNames.name(static_cast<std::uint8_t>(type)));
}

/// "id name raw>mapped size@offset" of each signal, with "-" ahead of one that no message carries; then
/// "id name[signals]" of each message.
std::string summary(const Definitions& definitions) {
  std::ostringstream out;
  for (const auto& [id, signal] : definitions.signals) {
    const SignalForm& form = signal->form();
    if (signal->listIndex == Signal::kUnlinked) out << "-";
    out << id << ' ' << signal->name() << ' ' << typeName(form.rawType) << '>' << typeName(form.mappedType) << ' '
        << form.bitSize << '@' << form.bitOffset << "; ";
  }
  for (const Message& message : definitions.messages) {
    out << message.id << ' ' << *message.name << '[';
    for (const Signal* signal : *message.signals) out << signal->id() << ' ';
    out << "]; ";
  }
  return out.str();
}

/// A document of these entries.
std::string document(const std::string& messages, const std::string& signals) {
  return R"({"V": 1, "M": [)" + messages + R"(], "S": [)" + signals + "]}";
}
/// What comes of one signal entry with these keys, which no message carries.
std::string oneSignal(const std::string& keys) {
  return document("", R"({"ID": 1, )" + keys + "}");
}

/// Entries 1 to `count`, each the child of the next; the last one has the name.
std::string chain(int count) {
  std::string text;
  for (int id = 1; id < count; ++id) {
    text += R"({"ID": )" + std::to_string(id) + R"(, "IP": )" + std::to_string(id + 1) + "},";
  }
  return text + R"({"ID": )" + std::to_string(count) + R"(, "DN": "last"})";
}

TEST(DefinitionsTest, ReadsDocuments) {
  const std::string plain = R"({"ID": 1, "DN": "a"})";
  const struct {
    const char* name;
    std::string document;
    std::string expected;
  } cases[] = {
      // The document
      {"no object", "[]", ""},
      {"null", "null", ""},
      {"no version", R"({"M": [], "S": [{"ID": 1}]})", ""},
      {"version 1.0", R"({"V": 1.0, "M": [], "S": [{"ID": 1}]})", ""},
      {"version 2", R"({"V": 2, "M": [], "S": [{"ID": 1}]})", ""},
      {"version in text", R"({"V": "1", "M": [], "S": [{"ID": 1}]})", ""},
      {"messages no array", R"({"V": 1, "M": {}, "S": [{"ID": 1}]})", ""},
      {"signals no array", R"({"V": 1, "M": [], "S": {"ID": 1}})", ""},
      {"other keys", R"({"V": 1, "M": [], "S": [{"ID": 1, "XX": {}}], "X": 5})", "-1  int32_t>int32_t 32@0; "},
      // Entries
      {"entries of no use",
       document("5", R"(5, null, [], {}, {"ID": -1}, {"ID": 1.0}, {"ID": "1"}, {"id": 1}, {"ID": null})"), ""},
      {"first entry of an id", document("", R"({"ID": 1, "DN": "a"}, {"ID": 1, "DN": "b"})"),
       "-1 a int32_t>int32_t 32@0; "},
      {"largest id",
       document(R"({"ID": 18446744073709551615, "BS": [18446744073709551615]})", R"({"ID": 18446744073709551615})"),
       "18446744073709551615  int32_t>int32_t 32@0; 18446744073709551615 [18446744073709551615 ]; "},
      {"id beyond 64 bits", document("", R"({"ID": 18446744073709551616})"), ""},
      // Types
      {"offset 65535", oneSignal(R"("BO": 65535)"), "-1  int32_t>int32_t 32@65535; "},
      {"offset 65536", oneSignal(R"("BO": 65536)"), ""},
      {"offset of another kind", oneSignal(R"("BO": -5, "BS": 8.0)"), "-1  int32_t>int32_t 32@0; "},
      {"size 0", oneSignal(R"("BS": 0)"), ""},
      {"size 65537", oneSignal(R"("BS": 65537)"), ""},
      {"huge size", oneSignal(R"("BS": 4294967304)"), ""},
      {"wider than its type", oneSignal(R"("BS": 40)"), "-1  int32_t>int32_t 40@0; "},
      {"wider than float holds", oneSignal(R"("BS": 25, "MT": "R32")"), ""},
      {"as wide as float holds", oneSignal(R"("BS": 24, "MT": "R32")"), "-1  int32_t>float 24@0; "},
      {"bool", oneSignal(R"("BT": "B", "BS": 65536)"), "-1  bool>bool 1@0; "},
      {"u12", oneSignal(R"("BT": "u", "BS": 12)"), "-1  uint16_t>uint16_t 12@0; "},
      {"u33", oneSignal(R"("BT": "u", "BS": 33)"), "-1  uint64_t>uint64_t 33@0; "},
      {"s8", oneSignal(R"("BT": "S", "BS": 8)"), "-1  int8_t>int8_t 8@0; "},
      {"s65", oneSignal(R"("BT": "S", "BS": 65)"), ""},
      {"r16", oneSignal(R"("BT": "R", "BS": 16)"), ""},
      {"r17", oneSignal(R"("BT": "R", "BS": 17)"), "-1  float>float 17@0; "},
      {"r33", oneSignal(R"("BT": "R", "BS": 33)"), "-1  double>double 33@0; "},
      {"base unknown", oneSignal(R"("BT": "X")"), ""},
      {"base empty", oneSignal(R"("BT": "")"), ""},
      {"base of another kind", oneSignal(R"("BT": 5, "BS": 8)"), "-1  int32_t>int32_t 8@0; "},
      {"mapped", oneSignal(R"("BT": "U", "BS": 8, "MT": "s64")"), "-1  uint8_t>int64_t 8@0; "},
      {"mapped, and wider than any type", oneSignal(R"("BS": 65, "MT": "S64")"), "-1  int32_t>int64_t 65@0; "},
      {"mapped of another kind", oneSignal(R"("BT": "U", "BS": 8, "MT": null)"), "-1  uint8_t>uint8_t 8@0; "},
      {"mapped unknown", oneSignal(R"("MT": "R16")"), ""},
      {"mapped narrower", oneSignal(R"("MT": "S16")"), ""},
      {"float mapped to int", oneSignal(R"("BT": "R", "MT": "S32")"), ""},
      // Messages
      {"links",
       document(R"({"ID": 9, "DN": "m", "BS": [2, 1, 2, 7, -1, "1", 1.0]})", plain + R"(, {"ID": 2}, {"ID": 3})"),
       "1 a int32_t>int32_t 32@0; 2  int32_t>int32_t 32@0; -3  int32_t>int32_t 32@0; 9 m[1 2 ]; "},
      {"messages without signals",
       document(R"({"ID": 1}, {"ID": 2, "BS": []}, {"ID": 3, "BS": [2]}, {"ID": 4, "BS": 1}, {"ID": 5, "BS": [1]})",
                plain),
       "1 a int32_t>int32_t 32@0; 5 [1 ]; "},
      {"signals that do not resolve", document(R"({"ID": 1, "BS": [1, 2]})", R"({"ID": 1, "BS": 0}, {"ID": 2})"),
       "2  int32_t>int32_t 32@0; 1 [2 ]; "},
      // Parents
      {"inherits",
       document(R"({"ID": 1, "IP": 2, "DN": "own"}, {"ID": 2, "DN": "parent", "BS": [1]})",
                R"({"ID": 1, "IP": 70000, "BO": 8}, {"ID": 70000, "DN": "p", "BS": 8, "BT": "U", "BO": 4})"),
       "1 p uint8_t>uint8_t 8@8; -70000 p uint8_t>uint8_t 8@4; 1 own[1 ]; 2 parent[1 ]; "},
      {"a wrong kind is not overridden", document("", R"({"ID": 1, "IP": 2, "DN": 5}, {"ID": 2, "DN": "p"})"),
       "-1  int32_t>int32_t 32@0; -2 p int32_t>int32_t 32@0; "},
      {"parents of other kinds",
       document("", R"({"ID": 0, "DN": "p"}, {"ID": 1, "IP": "0"}, {"ID": 2, "IP": false}, {"ID": 3, "IP": 0.9},
                       {"ID": 4, "IP": 1e30}, {"ID": 5, "IP": null}, {"ID": 6, "IP": [0]}, {"ID": 7, "IP": 99})"),
       "-0 p int32_t>int32_t 32@0; -1  int32_t>int32_t 32@0; -2  int32_t>int32_t 32@0; -3 p int32_t>int32_t 32@0; "
       "-4  int32_t>int32_t 32@0; -5  int32_t>int32_t 32@0; -6  int32_t>int32_t 32@0; -7  int32_t>int32_t 32@0; "},
      {"a negative parent wraps", document("", R"({"ID": 1, "IP": -1}, {"ID": 18446744073709551615, "DN": "p"})"),
       "-1 p int32_t>int32_t 32@0; -18446744073709551615 p int32_t>int32_t 32@0; "},
      {"its own parent", oneSignal(R"("IP": 1)"), "-1  int32_t>int32_t 32@0; "},
      {"parents in a circle", document("", R"({"ID": 1, "IP": 2, "BS": 8}, {"ID": 2, "IP": 1, "DN": "b"})"),
       "-1 b int32_t>int32_t 8@0; -2 b int32_t>int32_t 8@0; "},
      {"nesting too deep for a text", R"({"V": 1, "M": [[[[]]]], "S": [[[{"ID": 1}]]]})", ""},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.name);
    EXPECT_EQ(summary(readDefinitions(json::parse(expected.document))), expected.expected);
  }
}

TEST(DefinitionsTest, FollowsChainsOf256Parents) {
  const Definitions definitions = readDefinitions(json::parse(document("", chain(258))));
  EXPECT_EQ(definitions.signals.at(1)->name(), "");      // 257 parents up
  EXPECT_EQ(definitions.signals.at(2)->name(), "last");  // 256
  EXPECT_EQ(definitions.signals.at(258)->name(), "last");
}

TEST(DefinitionsTest, EntriesShareTheTextsThatTheyInherit) {
  const json document = json::parse(R"({"V":1,"M":[{"ID":1,"DN":"M","BS":[1,2]},{"ID":2,"IP":1}],)"
                                    R"("S":[{"ID":1,"DN":"S","DU":"u","DC":"c"},{"ID":2,"IP":1}]})");
  const Definitions definitions = readDefinitions(document);
  const Signal& parent = *definitions.signals.at(1);
  const Signal& child = *definitions.signals.at(2);
  EXPECT_EQ(&parent.name(), &child.name());
  EXPECT_EQ(&parent.unit(), &child.unit());
  EXPECT_EQ(&parent.comment(), &child.comment());
  EXPECT_EQ(definitions.messages.at(0).name, definitions.messages.at(1).name);
}

TEST(DefinitionsTest, HugeCirclesAreQuick) {
  constexpr int kCount = 100'000;
  json entries = json::array();
  for (int id = 0; id < kCount; ++id) {
    entries.push_back({{"ID", static_cast<unsigned>(id)}, {"IP", static_cast<unsigned>((id + 1) % kCount)}});
  }
  entries[0]["BS"] = json::array();  // of the messages; no size for the signals
  for (unsigned id = 0; id < kCount; ++id) entries[0]["BS"].push_back(id);
  const json document = {{"V", 1U}, {"M", entries}, {"S", entries}};
  const auto begun = std::chrono::steady_clock::now();
  const Definitions definitions = readDefinitions(document);
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(10));
  EXPECT_EQ(definitions.carriedSignals.size(), std::size_t{kCount});
  EXPECT_EQ(definitions.messages.size(), 257U);
}

}  // namespace
}  // namespace Kvex::Zint
