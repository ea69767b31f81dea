#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>

#include "synth/ZintMessages.h"
#include "zint/ComDecoder.h"

namespace Kvex::Zint {
namespace {

using Synth::ZintDefinition;
using Synth::ZintPacket;
using Bytes = std::vector<std::uint8_t>;

/// Signals of one byte each, "Nano" among them.
constexpr std::uint64_t kBefore = 1, kNano = 2, kAfter = 3, kShared = 4, kSecondNano = 5;

ZintDefinition makeDefinition() {
  ZintDefinition definition;
  const auto add = [&](std::uint64_t id, const char* name, std::uint32_t bitOffset, const char* mapped) {
    definition.signals.push_back(
        {.id = id, .name = name, .bitOffset = bitOffset, .bitSize = 8, .base = "U", .mapped = mapped});
  };
  add(kBefore, "Before", 8, "U8");
  add(kNano, "Nano", 0, "S64");
  add(kAfter, "After", 16, "R32");
  add(kShared, "Shared", 24, "U8");
  add(kSecondNano, "Nano", 32, "S64");
  definition.messages = {{.id = 0x0102, .signals = {kBefore, kNano, kAfter, kShared, kSecondNano}},
                         {.id = 3, .signals = {kBefore, kShared}},
                         {.id = 4, .signals = {kShared, kAfter}},
                         {.id = 65535, .signals = {kNano, kShared}},
                         {.id = 65536 + 3, .signals = {kNano}}};
  return definition;
}

ComDecoder makeDecoder(const ZintDefinition& definition = makeDefinition()) {
  ComDecoder decoder;
  decoder.setDefinitions(definition.document());
  return decoder;
}

/// Value, stamp and flags of every field, in order.
std::vector<std::array<std::int64_t, 3>> fieldsOf(ComDecoder& decoder) {
  std::vector<std::array<std::int64_t, 3>> fields;
  const ComData& data = decoder.data();
  for (const Signal* signal : decoder.definitions().carriedSignals) {
    Lib::withType(signal->form().mappedType, [&](auto tag) {
      const auto& field = data.at<typename decltype(tag)::Type>(signal->slot);
      fields.push_back({static_cast<std::int64_t>(field.value), field.stamp, field.flags});
    });
  }
  return fields;
}

Bytes packet(std::uint16_t id, Bytes payload) {
  payload.insert(payload.begin(), {static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(id >> 8)});
  return payload;
}

TEST(ComDecoderTest, MessagesOfOneListAreExtractedAsOne) {
  const nlohmann::json document = nlohmann::json::parse(
      R"({"V":1,"M":[{"ID":1,"BS":[1,2]},{"ID":2,"IP":1},{"ID":3,"BS":[2,3]}],"S":[{"ID":1,"DN":"A","BT":"U","BS":8},)"
      R"({"ID":2,"DN":"B","BT":"U","BO":8,"BS":8},{"ID":3,"DN":"C","BT":"U","BO":8,"BS":8}]})");
  const struct {
    const char* fault;
    std::vector<Bytes> packets;
    std::vector<std::int64_t> values;
  } cases[] = {
      {"the newest of the list", {packet(1, {1, 2}), packet(2, {3, 4})}, {3, 4, 0}},
      {"the newest of a shared signal", {packet(1, {1, 2}), packet(3, {0, 6}), packet(2, {3, 4})}, {3, 4, 6}},
      {"another list last", {packet(2, {3, 4}), packet(1, {1, 2}), packet(3, {0, 6})}, {1, 6, 6}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fault);
    ComDecoder decoder;
    decoder.setDefinitions(document);
    for (const Bytes& bytes : c.packets) decoder.decode(ByteView(bytes));
    std::vector<std::int64_t> values;
    for (const auto& field : fieldsOf(decoder)) values.push_back(field[0]);
    EXPECT_EQ(values, c.values);
  }
  ComDecoder decoder;
  decoder.setDefinitions(document);
  decoder.keepSignals([](const Signal& signal) { return signal.name() != "A"; });
  decoder.decode(ByteView(packet(1, {1, 2})));
  EXPECT_EQ(fieldsOf(decoder)[0][0], 0);
  EXPECT_EQ(fieldsOf(decoder)[1][0], 2);
}

TEST(ComDecoderTest, StampsByTheOrderOfSignals) {
  ComDecoder decoder = makeDecoder();
  decoder.probe(ByteView(packet(3, {9, 9, 9, 9})));
  EXPECT_EQ(decoder.state(), ComDecoder::State::Probing);
  decoder.probe(ByteView(packet(0x0102, {50, 1, 2, 3, 4})));
  EXPECT_EQ(decoder.state(), ComDecoder::State::Timed);
  decoder.reset();
  using testing::ElementsAre;
  const auto field = [](std::int64_t value, std::int64_t stamp, std::int64_t flags = 0) {
    return std::array{value, stamp, flags};
  };
  // Seeded with the first time, nothing else.
  const auto none = field(0, 0, 0x50);
  EXPECT_THAT(fieldsOf(decoder), ElementsAre(none, field(50, 50), none, none, none));
  decoder.decode(ByteView(packet(0x0102, {60, 1, 2, 3, 4})));
  EXPECT_THAT(fieldsOf(decoder), ElementsAre(field(1, 50), field(60, 60), field(2, 60), field(3, 60), field(4, 60)));
  decoder.decode(ByteView(packet(3, {0, 7, 0, 8})));
  decoder.decode(ByteView(packet(65535, {40})));  // time runs back; the rest of the payload reads as 0
  EXPECT_THAT(fieldsOf(decoder), ElementsAre(field(7, 60), field(40, 40), field(2, 60), field(0, 40), field(4, 60)));
  for (const Bytes& ignored : {Bytes{}, Bytes{3}, Bytes{3, 0}, packet(0x0201, {1, 2, 3}), packet(65534, {1, 2})}) {
    decoder.decode(ByteView(ignored));
  }
  EXPECT_THAT(fieldsOf(decoder), ElementsAre(field(7, 60), field(40, 40), field(2, 60), field(0, 40), field(4, 60)));
}

TEST(ComDecoderTest, WithoutATime) {
  ZintDefinition definition = makeDefinition();
  for (auto& signal : definition.signals) {
    if (signal.name == "Nano") signal.mapped = "R64";
  }
  ComDecoder decoder = makeDecoder(definition);
  decoder.probe(ByteView(packet(0x0102, {50, 1, 2, 3, 4})));
  EXPECT_EQ(decoder.state(), ComDecoder::State::Probing);
  decoder.reset();
  EXPECT_EQ(decoder.state(), ComDecoder::State::Untimed);
  EXPECT_EQ(decoder.time().flags, 0x50);
  decoder.decode(ByteView(packet(3, {0, 7, 0, 8})));
  EXPECT_EQ(fieldsOf(decoder).front(), (std::array<std::int64_t, 3>{7, 0, 0x10}));
  EXPECT_FALSE(decoder.time().usable());
}

TEST(ComDecoderTest, ExtractingLateGivesTheSame) {
  std::mt19937 random(2);
  constexpr std::uint16_t kIds[] = {0x0102, 3, 4, 65535, 77};
  for (int trial = 0; trial < 100; ++trial) {
    ComDecoder late = makeDecoder();
    ComDecoder early = makeDecoder();
    for (int i = 0; i < 200; ++i) {
      Bytes payload(random() % 7);
      for (auto& byte : payload) byte = static_cast<std::uint8_t>(random());
      const Bytes bytes = packet(kIds[random() % std::size(kIds)], payload);
      for (ComDecoder* decoder : {&late, &early}) {
        if (decoder->state() == ComDecoder::State::Probing) {
          decoder->probe(ByteView(bytes));
          if (trial % 10 == 0) decoder->reset();
        } else {
          decoder->decode(ByteView(bytes));
        }
        if (i % 90 == 89) decoder->reset();
      }
      early.data();
      ASSERT_EQ(late.time().value, early.time().value);
      if (random() % 8 == 0) {
        ASSERT_EQ(fieldsOf(late), fieldsOf(early));
      }
    }
  }
}

}  // namespace
}  // namespace Kvex::Zint
