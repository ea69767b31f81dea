// The prepared extraction of a signal against the plain meaning of its line, bit by bit.

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "can/CanDecoder.h"
#include "synth/CanPacket.h"

namespace Kvex::Can {

namespace {

struct Drawn {
  int start;
  int length;
  bool littleEndian;
  bool isSigned;
  int scaling;
};

struct Scaling {
  const char* text;
  bool isDouble;
  double factor, offset;
};
constexpr Scaling kScalings[] = {
    {"(1,0)", false, 1, 0}, {"(-3,7)", false, -3, 7}, {"(0.5,-2)", true, 0.5, -2}, {"(1e-3,100)", true, 1e-3, 100}};

/// The frame's bits of a signal, from its lowest up; bits beyond the 64 bytes are 0. False where a big-endian signal
/// runs past the last byte.
bool bitsOf(const Drawn& signal, const std::vector<std::uint8_t>& data, std::vector<bool>& bits) {
  const auto bit = [&](int number) {
    const auto byte = static_cast<std::size_t>(number / 8);
    return byte < data.size() && (data[byte] >> number % 8 & 1) != 0;
  };
  bits.clear();
  int number = signal.start;
  for (int count = 0; count < signal.length; ++count) {
    if (signal.littleEndian) {
      bits.push_back(bit(number++));
    } else {
      if (number >= 512) return false;
      bits.insert(bits.begin(), bit(number));
      number = number % 8 > 0 ? number - 1 : number + 15;  // down a byte's bits, then to the top of the next byte
    }
  }
  return true;
}

std::uint64_t valueBits(const Drawn& signal, const std::vector<bool>& bits) {
  std::uint64_t raw = 0;
  for (std::size_t index = 0; index < bits.size() && index < 64; ++index) raw |= std::uint64_t{bits[index]} << index;
  const bool extends = signal.isSigned && signal.length > 1 && signal.length < 64 && bits.back();
  for (int index = signal.length; extends && index < 64; ++index) raw |= std::uint64_t{1} << index;
  const Scaling& scaling = kScalings[signal.scaling];
  if (!scaling.isDouble) {
    return raw * static_cast<std::uint64_t>(static_cast<std::int64_t>(scaling.factor)) +
           static_cast<std::uint64_t>(static_cast<std::int64_t>(scaling.offset));
  }
  const double number =
      signal.isSigned ? static_cast<double>(static_cast<std::int64_t>(raw)) : static_cast<double>(raw);
  return std::bit_cast<std::uint64_t>(number * scaling.factor + scaling.offset);
}

std::string lineOf(const Drawn& signal, std::size_t index) {
  return "SG_ S" + std::to_string(index) + " : " + std::to_string(signal.start) + "|" + std::to_string(signal.length) +
         (signal.littleEndian ? "@1" : "@0") + (signal.isSigned ? "- " : "+ ") + kScalings[signal.scaling].text +
         " [0|1] \"\" X\n";
}

TEST(CanExtractionTest, AgreesWithTheMeaningBitByBit) {
  std::mt19937 random(20);
  const auto below = [&](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
  std::vector<Drawn> drawn;
  std::string text = "BO_ 2147483653 M: 64 X\n";
  for (std::size_t index = 0; index < 6000; ++index) {
    const bool inClassicFrame = index % 2 == 0;
    const int longest = index % 16 == 1 ? 513 : 66;
    drawn.push_back({below(inClassicFrame ? 64 : 512), below(longest), below(2) == 0, below(2) == 0, below(4)});
    text += lineOf(drawn.back(), index);
  }
  CanDecoder decoder{CanDatabase(text)};
  std::vector<CanField> fields = decoder.emptyFields();
  std::map<std::string, std::size_t, std::less<>> places;
  for (const CanSignal& signal : decoder.database().signals()) places.emplace(signal.name, signal.index);

  // From long to short, so that bytes of an earlier frame would show.
  for (const std::size_t size : {64, 48, 20, 8, 5, 1, 0}) {
    std::vector<std::uint8_t> data(size);
    for (std::uint8_t& byte : data) byte = static_cast<std::uint8_t>(below(4) == 0 ? 0xFF : random());
    Synth::CanPacket packet(1);
    packet.addFrame(2147483653, data);
    packet.addFrame(5, std::vector<std::uint8_t>(64, 0x5A));  // of an id that differs in its flag bit only
    decoder.decode(packet.bytes(), static_cast<Nano>(size), fields);
    decoder.extract(fields);

    std::vector<bool> bits;
    for (std::size_t index = 0; index < drawn.size(); ++index) {
      const auto found = places.find("S" + std::to_string(index));
      const bool fits = bitsOf(drawn[index], data, bits);
      ASSERT_EQ(found != places.end(), fits) << lineOf(drawn[index], index);
      if (!fits) continue;
      std::visit(
          [&](const auto& field) {
            ASSERT_EQ(std::bit_cast<std::uint64_t>(field.value), valueBits(drawn[index], bits))
                << size << " bytes, " << lineOf(drawn[index], index);
            ASSERT_EQ(field.stamp, static_cast<Nano>(size));
            ASSERT_EQ(field.flags, 0);
          },
          fields[found->second]);
    }
  }
}

}  // namespace

}  // namespace Kvex::Can
