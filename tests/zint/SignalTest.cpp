#include <bit>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <vector>

#include "library/Enumerations.h"
#include "zint/Signal.h"

namespace Kvex::Zint {
namespace {

using nlohmann::json;
using enum ValueType;
using Bytes = std::vector<std::uint8_t>;
__extension__ using Wide = __int128;

/// The raw types that each mapped type takes.
const struct {
  ValueType mapped;
  std::vector<ValueType> raw;
} kPairs[] = {
    {Bool, {Bool}},
    {Float, {Float, UInt8, UInt16, UInt32, Int8, Int16, Int32}},
    {Double, {Double, Float, UInt8, UInt16, UInt32, UInt64, Int8, Int16, Int32, Int64}},
    {UInt8, {UInt8}},
    {UInt16, {UInt16, UInt8}},
    {UInt32, {UInt32, UInt8, UInt16}},
    {UInt64, {UInt64, UInt8, UInt16, UInt32}},
    {Int8, {Int8}},
    {Int16, {Int16, UInt8, Int8}},
    {Int32, {Int32, UInt8, UInt16, Int8, Int16}},
    {Int64, {Int64, UInt8, UInt16, UInt32, Int8, Int16, Int32}},
};

/// A signal with its field.
struct Reader {
  Reader(const SignalForm& form, const json& keys) {
    const auto key = [&](const char* name) { return keys.contains(name) ? &keys.at(name) : nullptr; };
    signal = makeSignal(form, {.scale = key("MS"), .offset = key("MO"), .low = key("ML"), .high = key("MH")});
    if (signal != nullptr) signal->addSlot(data);
  }

  template <class U>
  U read(ByteView payload) {
    signal->capture(data, {}, payload);
    return data.at<U>(signal->slot).value;
  }

  ComData data;
  std::unique_ptr<Signal> signal;
};

/// The field's bits, one by one; those beyond the payload are 0.
std::uint64_t bitsOf(const Bytes& payload, std::uint32_t offset, std::uint32_t size) {
  std::uint64_t bits = 0;
  for (std::uint32_t i = 0; i < size; ++i) {
    const std::uint32_t at = offset + i;
    if (at / 8 < payload.size()) bits |= std::uint64_t{payload[at / 8] >> at % 8 & 1U} << i;
  }
  return bits;
}

template <class T>
T plainRaw(const Bytes& payload, const SignalForm& form) {
  constexpr std::uint32_t kBits = 8 * sizeof(T);
  // A field said to be wider than its type is the low bits of the bytes that it starts in.
  const bool tooWide = form.bitSize > kBits;
  const std::uint32_t size = tooWide ? kBits : form.bitSize;
  std::uint64_t bits = bitsOf(payload, tooWide ? form.bitOffset / 8 * 8 : form.bitOffset, size);
  if constexpr (std::is_floating_point_v<T>) {
    return std::bit_cast<T>(static_cast<std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>(bits));
  } else if constexpr (std::is_signed_v<T> && sizeof(T) < 8) {
    Wide value = bits;
    if ((bits >> (size - 1) & 1) != 0) value -= Wide{1} << size;
    return static_cast<T>(value);
  } else {
    return static_cast<T>(bits);
  }
}

template <class T, class U>
void compareWithPlainReading(std::mt19937& random) {
  const auto draw = [&](std::uint32_t count) { return static_cast<std::uint32_t>(random() % count); };
  constexpr std::uint32_t kBits = std::is_same_v<T, bool> ? 1 : 8 * sizeof(T);
  std::uint32_t most = kBits;
  if (std::is_same_v<U, float> && !std::is_same_v<T, U>) most = std::min(most, 24U);
  if (std::is_same_v<U, double> && !std::is_same_v<T, U>) most = std::min(most, 53U);
  if (std::is_same_v<T, std::int32_t> && std::is_same_v<U, T>) most = 50;
  for (int trial = 0; trial < 300; ++trial) {
    const SignalForm form{.rawType = Lib::kValueTypeOf<T>,
                          .mappedType = Lib::kValueTypeOf<U>,
                          .bitSize = trial % 4 == 0 ? most : 1 + draw(most),
                          .bitOffset = draw(90)};
    json keys = json::object();
    if (trial % 2 == 0) keys = {{"MS", 1 + draw(1000)}, {"MO", draw(1000)}};
    Reader reader(form, keys);
    ASSERT_NE(reader.signal, nullptr);
    Bytes payload(draw(24));
    for (auto& byte : payload) byte = static_cast<std::uint8_t>(random());
    const T raw = plainRaw<T>(payload, form);
    const U read = reader.template read<U>(ByteView(payload));
    U expected{};
    if constexpr (std::is_same_v<U, bool>) {
      expected = raw;
    } else if constexpr (std::is_floating_point_v<U>) {
      expected = static_cast<U>(raw) * keys.value("MS", U{1}) + keys.value("MO", U{0});
    } else {
      expected = static_cast<U>(static_cast<Wide>(raw) * keys.value("MS", 1) + keys.value("MO", 0));
    }
    const bool bothNan = read != read && expected != expected;
    ASSERT_TRUE(bothNan || read == expected)
        << Lib::kValueTypeNames.name(static_cast<std::uint8_t>(form.rawType)) << " of " << form.bitSize << " bits at "
        << form.bitOffset << " in " << payload.size() << " bytes: " << +read << ", not " << +expected;
  }
}

TEST(SignalTest, ReadsWhatIsInTheBits) {
  std::mt19937 random(1);
  int pairs = 0;
  for (const auto& [mapped, raws] : kPairs) {
    for (int code = 0; code < 16; ++code) {
      const auto raw = static_cast<ValueType>(code);
      const bool maps = std::find(raws.begin(), raws.end(), raw) != raws.end();
      EXPECT_EQ(makeSignal({.rawType = raw, .mappedType = mapped, .bitSize = 1}, {}) != nullptr, maps);
      pairs += maps;
    }
  }
  EXPECT_EQ(pairs, 44);
  Lib::forEachType([&](auto mappedTag) {
    using U = typename decltype(mappedTag)::Type;
    Lib::forEachType([&](auto rawTag) {
      using T = typename decltype(rawTag)::Type;
      for (const auto& [mapped, raws] : kPairs) {
        if (mapped != Lib::kValueTypeOf<U>) continue;
        if (std::find(raws.begin(), raws.end(), Lib::kValueTypeOf<T>) != raws.end()) {
          compareWithPlainReading<T, U>(random);
        }
      }
    });
  });
}

TEST(SignalTest, MapsAtTheEdges) {
  const struct {
    ValueType raw;
    ValueType mapped;
    std::uint32_t size;
    const char* keys;
    Bytes payload;
    std::int64_t expected;  ///< As an integer; floating values are whole here.
  } cases[] = {
      {Int8, Int8, 4, "{}", {0x0F}, -1},
      {Int64, Int64, 40, "{}", {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, 0xFFFFFFFFFF},
      {UInt8, Int16, 8, R"({"MS": 300})", {255}, 10964},
      {UInt32, Double, 32, "{}", {255, 255, 255, 255}, 4294967295},
      {UInt8, UInt8, 8, R"({"MS": 3, "MO": 200})", {100}, 244},
      {UInt8, UInt8, 8, R"({"MS": -3, "MO": 2.5})", {100}, 100},  // unfit kinds leave the defaults
      {Int8, Int8, 8, R"({"MS": -128})", {0x80}, 0},
      {Int8, Int8, 8, R"({"MS": 2.0, "MO": "1"})", {7}, 7},
      {Int32, Int64, 32, R"({"MS": -9223372036854775808})", {1}, INT64_MIN},
      {Int8, Int64, 8, R"({"MS": 9223372036854775807, "MO": 9223372036854775807})", {0x80}, INT64_MIN + 127},
      {UInt8, Float, 8, R"({"MS": 0.5, "MO": -1})", {8}, 3},
      {UInt8, Float, 8, R"({"MS": 1152921573326323713})", {1}, 1152921642045800448},  // rounded once
      {UInt64, UInt64, 64, R"({"MO": 18446744073709551615})", {3}, 2},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.keys);
    Reader reader({.rawType = expected.raw, .mappedType = expected.mapped, .bitSize = expected.size},
                  json::parse(expected.keys));
    Lib::withType(expected.mapped, [&](auto tag) {
      using U = typename decltype(tag)::Type;
      EXPECT_EQ(static_cast<std::int64_t>(reader.read<U>(ByteView(expected.payload))), expected.expected);
    });
  }
}

TEST(SignalTest, LimitsWhatFloatingTypesHold) {
  const auto makes = [](ValueType raw, ValueType mapped, std::uint32_t size) {
    return makeSignal({.rawType = raw, .mappedType = mapped, .bitSize = size}, {}) != nullptr;
  };
  EXPECT_TRUE(makes(Int32, Float, 24));
  EXPECT_FALSE(makes(Int32, Float, 25));
  EXPECT_TRUE(makes(Int64, Double, 53));
  EXPECT_FALSE(makes(UInt64, Double, 54));
  EXPECT_TRUE(makes(Float, Float, 32));
  EXPECT_TRUE(makes(Float, Double, 32));
}

TEST(SignalTest, CapturesTheMarkOfTheTime) {
  Reader reader({.rawType = UInt8, .mappedType = UInt8, .bitSize = 8}, json::object());
  const Bytes payload = {9};
  for (const std::uint8_t flags : {0x00, 0x10, 0x50, 0xFF, 0xEF}) {
    reader.signal->capture(reader.data, {.stamp = 5, .flags = flags, .stamp2 = 7}, ByteView(payload));
    const auto& field = reader.data.at<std::uint8_t>(reader.signal->slot);
    EXPECT_EQ(field.flags, flags & 0x10);
    EXPECT_EQ(field.stamp, 5);
    EXPECT_EQ(field.stamp2, 7);
  }
}

TEST(SignalTest, RangesAreThoseOfTheDefinition) {
  const json low = 3U, high = 9U;
  for (const auto& [mapped, raws] : kPairs) {
    const auto given =
        makeSignal({.rawType = mapped, .mappedType = mapped, .bitSize = 1}, {.low = &low, .high = &high});
    const auto none = makeSignal({.rawType = mapped, .mappedType = mapped, .bitSize = 1}, {});
    const bool isBool = mapped == ValueType::Bool;
    EXPECT_EQ(given->rangeLow(), isBool ? 0 : 3) << Lib::kValueTypeNames.name(static_cast<std::uint8_t>(mapped));
    EXPECT_EQ(given->rangeHigh(), isBool ? 1 : 9);
    EXPECT_EQ(none->rangeLow(), isBool ? 0 : 1);
    EXPECT_EQ(none->rangeHigh(), isBool ? 1 : 0);
  }
}

TEST(SignalTest, DescribesItself) {
  const json low = -5, high = 5;
  const auto signal = makeSignal({.id = 7, .rawType = UInt16, .mappedType = Int32, .bitSize = 11, .bitOffset = 13},
                                 {.name = std::make_shared<std::string>("Speed"),
                                  .unit = std::make_shared<std::string>("m/s"),
                                  .low = &low,
                                  .high = &high});
  std::ostringstream line;
  signal->describe(line);
  EXPECT_EQ(line.str(),
            "Sig:    7   -.   0 Speed                    (11  13) [ 2  1] (16 21) uint16_t int32_t  m/s      |"
            " (      1       0) [     -5       5]\n");
  std::ostringstream value;
  signal->printValue(value, ByteView(Bytes{0, 0xE0, 0xFF}));
  EXPECT_EQ(value.str(), "7ff");
}

}  // namespace
}  // namespace Kvex::Zint
