#include <gtest/gtest.h>

#include "library/Enumerations.h"

namespace Kvex::Lib {
namespace {

TEST(EnumerationsTest, RawCodesReadAsTheirNames) {
  struct Case {
    const Enumeration& enumeration;
    std::uint16_t last;
    std::uint64_t raw;
    std::string_view name;
  };
  const Case cases[] = {
      {kStreamCodecNames, 17, 15, "Zint"},
      {kValueTypeNames, 13, 12, "int64_t"},
      {kGpsTypeNames, 22, 2, "None"},
      {kPosModeNames, 36, 31, "PPP"},
      {kSerBaudNames, 34, 33, "3686400"},
      {kSerDataBitsNames, 4, 0, "8"},
      {kSerStopBitsNames, 3, 2, "1.5"},
      {kInsNavModeNames, 23, 7, "Reserved"},
      {kInsNavModeNames, 23, 20, "Trigger (Initialise)"},
      {kProvenanceNames, 19, 16, "File"},
      {kGpsDiffFormatNames, 9, 6, "RTCMv3"},
      {kGpsDiffNtripStatusNames, 18, 17, "ErrPort"},
      {kHeadSearchStatusNames, 19, 18, "Disabled"},
      {kOptionUdpNames, 15, 14, "Javad I+RTK"},
      {kPTPStatusNames, 13, 10, "Locked"},
      {kLinJerkFiltTypeNames, 13, 1, "Butterworth"},
      {kLinJerkFiltTypeNames, 13, 2, "Unknown"},
      {kImuTypeNames, 21, 7, "IMU model 7"},
      {kImuHousingNames, 6, 0, "IMU housing 0"},
      {kProductFamilyNames, 13, 0, "None"},
      {kProductGroupNames, 39, 38, "Product group 38"},
      {kProductModelNames, 629, 1, "Default"},
      {kProductModelNames, 629, 628, "Product model 628"},
      {kProductModelNames, 629, 630, "Unknown"},
  };
  for (const auto& [enumeration, last, raw, name] : cases) {
    EXPECT_EQ(enumeration.last(), last) << name;
    EXPECT_EQ(enumeration.nameOfRaw(raw), name);
    EXPECT_EQ(enumeration.name(enumeration.clamped(raw)), name);
    for (const std::int64_t unlisted :
         {last + std::int64_t{1}, std::int64_t{65535}, std::int64_t{1} << 32, std::int64_t{-1}}) {
      EXPECT_EQ(enumeration.clamped(static_cast<std::uint64_t>(unlisted)), last);
      EXPECT_EQ(enumeration.nameOfRaw(static_cast<std::uint64_t>(unlisted)), "Unknown");
    }
    EXPECT_EQ(enumeration.name(last + 1U).data(), nullptr);
  }
}

TEST(EnumerationsTest, AnUnlistedModelHasNoIdentity) {
  EXPECT_EQ(productIdentity("a model", 3), (ProductIdentity{629, 13, 39}));
}

}  // namespace
}  // namespace Kvex::Lib
