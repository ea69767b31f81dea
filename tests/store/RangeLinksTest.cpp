#include <gtest/gtest.h>

#include "store/RangeLinks.h"

namespace Kvex::Sto {
namespace {

class FakeRange : public RangeSources {
 public:
  std::array<std::optional<Source>, kPlaces> sources() const override {
    return {Source{5, 0}, std::nullopt, Source{0, 7}, Source{6, 0}};
  }
  std::optional<std::uint32_t> hunterAddress() const override { return 5; }
  std::array<std::optional<std::uint32_t>, kTargets> targetAddresses() const override {
    return {6, std::nullopt, 5, 6};
  }
};

TEST(RangeLinksTest, SourcesBecomeHunterAndTargets) {
  const FakeRange range;
  Com::TaggedPacket own("{Kvex-Range}");
  std::string who[3];
  std::size_t next = 0;
  for (const std::size_t place : {0U, 2U, 3U}) {
    Com::TaggedPacket packet = makeSourceTag(9);
    bindSource(range, own, packet, place, 100 + static_cast<std::uint32_t>(place));
    EXPECT_EQ(packet.values["Range.Vrel.Serial"], "9");
    packet.getText("WhoAmI", who[next++]);
  }
  EXPECT_EQ(who[0], "Target 2") << "hunter and target at once: a target";
  EXPECT_EQ(who[1], "");
  EXPECT_EQ(who[2], "Target 3") << "two targets at once: the last one";
  const std::map<std::string, std::string, std::less<>> expected = {
      {"Hunter.Vrel.Serial", "100"},
      {"Target.Index.0.Vrel.Serial", "103"},
      {"Target.Index.2.Vrel.Serial", "100"},
      {"Target.Index.3.Vrel.Serial", "103"},
      {"Target.Indices", "2 0 3"},
      {"Codec.Quon.Index.0.Vrel.Serial", "100"},
      {"Codec.Quon.Index.2.Vrel.Serial", "102"},
      {"Codec.Quon.Index.3.Vrel.Serial", "103"},
      {"Codec.Quon.Indices", "0 2 3"},
  };
  EXPECT_EQ(own.values, expected);
}

}  // namespace
}  // namespace Kvex::Sto
