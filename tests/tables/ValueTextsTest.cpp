#include <gtest/gtest.h>
#include <limits>

#include "tables/ValueTexts.h"

namespace Kvex::Sto {
namespace {

template <class T>
Sample sampleOf(T value) {
  Sample sample;
  sample.set(value);
  return sample;
}

TEST(ValueTextsTest, EachFormOfAValue) {
  struct Case {
    decltype(SignalInfo::valueText) form;
    Sample value;
    std::string expected;
    std::int32_t decimals = -1;
  };
  constexpr std::uint8_t kPpp = 31;
  constexpr std::uint16_t kBeyondModels = 60000;
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  const Case cases[] = {
      {enumerationText<Lib::kPosModeNames>, sampleOf(kPpp), "PPP"},
      {enumerationText<Lib::kProductModelNames>, sampleOf(kBeyondModels), "Unknown"},
      {enumerationText<Lib::kPosModeNames>, sampleOf(std::int8_t{-1}), "Unknown"},
      {enumerationText<Lib::kPosModeNames>, sampleOf(UINT64_MAX), "Unknown"},
      {dateTimeValueText, sampleOf(std::int64_t{1'167'264'017'500'000'000}), "2016-12-31 23:59:60.500"},
      {dateValueText, sampleOf(std::int64_t{1'167'264'017'500'000'000}), "2016-12-31"},
      {spanValueText, sampleOf(std::int64_t{-1'000'000}), "-000 00:00:00.001"},
      {dottedAddressText, sampleOf(std::uint32_t{0}), "0.0.0.0"},
      {dottedAddressText, sampleOf(std::uint32_t{0xFF0102C0}), "192.2.1.255"},
      {packedCharactersText, sampleOf(std::uint64_t{0}), ""},
      {packedCharactersText, sampleOf(std::uint64_t{0x44434241}), "ABCD"},
      {packedCharactersText, sampleOf(std::uint64_t{0x420741}), "A?B"},
      {packedCharactersText, sampleOf(std::uint64_t{0x41004141}), "AA"},
      {packedCharactersText, sampleOf(std::uint64_t{0xFF7F7E201F424141}), "AAB? ~??"},
      {fixedDecimalsText, sampleOf(-1.23456), "-1.235", 3},
      {fixedDecimalsText, sampleOf(2.5F), "2", 0},
      {fixedDecimalsText, sampleOf(std::int32_t{7}), "7.00", 2},
      {fixedDecimalsText, sampleOf(kInfinite), "inf", 2},
      {fixedDecimalsText, sampleOf(0.1), "0.10000000000000000555", 99},
  };
  for (const Case& one : cases) {
    SignalInfo info;
    info.decimals = one.decimals;
    EXPECT_EQ(one.form(one.value, info), one.expected);
  }
  SignalInfo finest;
  finest.decimals = 20;
  EXPECT_EQ(fixedDecimalsText(sampleOf(-std::numeric_limits<double>::max()), finest).size(), 331U);
}

}  // namespace
}  // namespace Kvex::Sto
