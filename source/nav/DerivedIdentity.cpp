#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "library/Enumerations.h"
#include "nav/Axes.h"
#include "nav/DecisionList.h"
#include "nav/Derived.h"

namespace Kvex::Nav {

namespace {

/// The columns of the model list are values of `ProductType`.
constexpr std::size_t kModelColumns = 3;

// Reference data of the device family goes here; none is published.
constexpr std::span<const DecisionRow<6>> kFamilies{};
constexpr std::span<const DecisionRow<7>> kGroups{};
constexpr std::span<const DecisionRow<15, kModelColumns>> kModels{};

/// Place of the letter in `DevID` that stands for the kind of unit.
constexpr std::size_t kKindLetter = 6;

std::uint8_t imuKey(std::uint8_t imuType) {
  const bool revised = imuType >= 8 && imuType <= 11;
  return revised ? static_cast<std::uint8_t>(imuType - 6) : imuType;
}

std::uint8_t receiverKey(std::uint8_t gpsType) {
  switch (gpsType) {
    case 10:
    case 17:
      return 4;
    case 18:
      return 14;
    case 19:
      return 13;
    default:
      return gpsType;
  }
}

template <class List, class Keys>
std::uint16_t lookUp(const List& list, const Keys& keys, std::size_t column, std::uint32_t unknown) {
  const auto* results = decide(list, keys);
  return results != nullptr && column < results->size() ? (*results)[column] : static_cast<std::uint16_t>(unknown);
}

void setProduct(NavState& state, const Lib::ProductIdentity& product) {
  state.setField(state.record.ProductModel, product.model);
  state.setField(state.record.ProductFamily, product.family);
  state.setField(state.record.ProductGroup, product.group);
}

/// A unit that is known by its product name.
void identifyByName(NavState& state) {
  NavRecord& r = state.record;
  if (!allUsable(r.HwConfig, r.receivers[0].Type, r.ProductVersion, r.ProductType)) return;
  std::string name(textOf(r.ProductName));
  std::ranges::transform(name, name.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  setProduct(state, Lib::productIdentity(name, r.ProductVersion.value));
  state.setField(r.ProductGeneration, std::min<std::uint8_t>(r.ProductVersion.value, 5));
  state.setField(r.ImuHousing, 6);
}

/// A unit that is known by what it is built from.
void identifyByParts(NavState& state, bool letterI) {
  NavRecord& r = state.record;
  const ReceiverBlock& primary = r.receivers[0];
  const ReceiverBlock& external = r.receivers[1];

  if (!r.HwConfig.usable()) return;
  const std::uint8_t hwConfig = r.HwConfig.value;
  if (hwConfig == 1) state.setField(r.ImuHousing, 2);
  if (hwConfig == 3) state.setField(r.ImuHousing, 4);
  if (hwConfig == 4) state.setField(r.ImuHousing, 5);

  if (!primary.Type.usable()) return;
  state.setField(r.ProductGeneration, primary.Type.value == 14 || primary.Type.value == 18 ? 2 : 1);

  if (!allUsable(r.ImuType, primary.VelRate) || !r.L1L2DiffEnabled.usable()) return;
  const std::uint8_t imu = imuKey(r.ImuType.value);
  const std::uint8_t receiver = receiverKey(primary.Type.value);
  const std::uint8_t l1l2 = r.L1L2DiffEnabled.value;
  const std::uint8_t letter = letterI;
  const std::uint8_t velRate = primary.VelRate.value;
  state.setField(r.ProductFamily,
                 static_cast<std::uint8_t>(lookUp(kFamilies, std::array{imu, receiver, hwConfig, l1l2, letter, velRate},
                                                  0, Lib::kProductFamilyNames.last())));

  if (!external.Type.usable()) return;
  const std::uint8_t externalReceiver = receiverKey(external.Type.value);
  state.setField(r.ProductGroup,
                 static_cast<std::uint8_t>(
                     lookUp(kGroups, std::array{imu, receiver, externalReceiver, hwConfig, l1l2, letter, velRate}, 0,
                            Lib::kProductGroupNames.last())));

  if (!state.wants.ProductType || !primary.RawRate.usable()) return;
  if (!allUsable(r.OmniVBSEnabled, r.OmniHPEnabled, r.TerraStarDEnabled, r.L1DiffEnabled, r.GnssGlonassEnabled,
                 r.GnssGalileoEnabled, r.GnssBeiDouEnabled)) {
    return;
  }
  const std::array<std::uint8_t, 15> keys{imu,
                                          receiver,
                                          externalReceiver,
                                          hwConfig,
                                          r.OmniVBSEnabled.value,
                                          r.OmniHPEnabled.value,
                                          r.TerraStarDEnabled.value,
                                          r.L1DiffEnabled.value,
                                          l1l2,
                                          r.GnssGlonassEnabled.value,
                                          r.GnssGalileoEnabled.value,
                                          r.GnssBeiDouEnabled.value,
                                          letter,
                                          velRate,
                                          primary.RawRate.value};
  const std::size_t column = r.ProductType.usable() ? r.ProductType.value : 0;
  state.setField(r.ProductModel, lookUp(kModels, keys, column, Lib::kProductModelNames.last()));
}

}  // namespace

void deriveIdentity(NavState& state) {
  NavRecord& r = state.record;
  if (!state.wants.ProductFamily || !r.DevIDText.usable()) return;
  const char letter = r.DevIDText.value[kKindLetter];
  if (letter == 's') {
    setProduct(state, {.model = 349, .family = 1, .group = 1});
    state.setField(r.ProductGeneration, 1);
    state.setField(r.ImuHousing, 0);
  } else if (letter == 'x') {
    identifyByName(state);
  } else {
    identifyByParts(state, letter == 'i');
  }
}

}  // namespace Kvex::Nav
