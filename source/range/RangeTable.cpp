#include "range/RangeTable.h"

#include <string>
#include <utility>

#include "tables/ValueTexts.h"

namespace Kvex::Sto {

namespace {

using Lib::NavField;
using Rng::BodyGroup;
using Rng::RangeBody;
using Rng::RangeRecord;
using Rng::RangeTarget;
using Rng::RangeWantTree;
using Rng::TargetGroup;

using TextForm = decltype(SignalInfo::valueText);

/// The text forms that the signal lists name.
namespace Text {
constexpr TextForm None = nullptr;
constexpr TextForm TargetMode = enumerationText<Lib::kTargetModeNames>;
constexpr TextForm StaticTargetType = enumerationText<Lib::kStaticTargetTypeNames>;
constexpr TextForm PosMode = enumerationText<Lib::kPosModeNames>;
constexpr TextForm MeasPlane = enumerationText<Lib::kMeasPlaneNames>;
constexpr TextForm Provenance = enumerationText<Lib::kProvenanceNames>;
constexpr TextForm ProductFamily = enumerationText<Lib::kProductFamilyNames>;
constexpr TextForm ProductGroup = enumerationText<Lib::kProductGroupNames>;
constexpr TextForm ProductModel = enumerationText<Lib::kProductModelNames>;
constexpr TextForm ProductType = enumerationText<Lib::kProductTypeNames>;
constexpr TextForm Dotted = dottedAddressText;
constexpr TextForm Packed = packedCharactersText;
constexpr TextForm DateTime = dateTimeValueText;
constexpr TextForm Span = spanValueText;
}  // namespace Text

/// What a line of a list tells about its signal.
struct Line {
  const char* name;
  std::uint32_t count;
  const char* unit;
  double resolution;
  TextForm text;
  const char* description;
};

/// `source` of the rows that read a target.
constexpr std::uint32_t kTargetSource = 1;

template <class T>
const NavField<T>& firstElement(const NavField<T>& field) {
  return field;
}

template <class T, std::size_t Count>
const NavField<T>& firstElement(const std::array<NavField<T>, Count>& fields) {
  return fields.front();
}

template <class T>
SignalRow rowOf(const Line& line, const std::string& prefix = {}) {
  SignalRow row;
  row.name = prefix + line.name;
  row.valueType = Lib::kValueTypeOf<T>;
  row.isArray = line.count > 1;
  row.count = line.count;
  row.unit = line.unit;
  row.description = line.description;
  row.resolution = line.resolution;
  row.decimals = decimalsOf(line.resolution);
  row.valueText = line.text;
  return row;
}

template <class T, auto kField, TargetGroup kGroup>
void insertTarget(SignalTable& table, const Line& line) {
  for (std::uint32_t target = 0; target < Rng::kTargets; ++target) {
    SignalRow row = rowOf<T>(line, "Target" + std::to_string(target + 1) + "_");
    row.source = kTargetSource;
    row.blockIndex = target;
    row.accessor = accessorOf<RangeRecord>([](const RangeRecord& record, std::uint32_t index) -> const NavField<T>& {
      return firstElement(record.targets.at(index).*kField);
    });
    row.want =
        wantOf<RangeWantTree>([](RangeWantTree& wants, std::uint32_t index) { wants.targets[index][kGroup] = true; });
    table.insert(std::move(row));
  }
}

template <class T, auto kField, BodyGroup kGroup>
void insertBody(SignalTable& table, const Line& line) {
  SignalRow row = rowOf<T>(line);
  row.accessor = accessorOf<RangeRecord>(
      [](const RangeRecord& record, std::uint32_t) -> const NavField<T>& { return firstElement(record.body.*kField); });
  row.want = wantOf<RangeWantTree>([](RangeWantTree& wants, std::uint32_t) { wants.body[kGroup] = true; });
  table.insert(std::move(row));
}

SignalTable makeTable() {
  SignalTable table;
#define RANGE_TARGET(type, name, count, unit, resolution, group, text, description) \
  insertTarget<type, &RangeTarget::name, TargetGroup::group>(                       \
      table, {#name, count, unit, resolution, Text::text, description});
#include "tables/RangeTargetSignals.def"
#define RANGE_BODY(type, name, count, unit, resolution, group, text, description) \
  insertBody<type, &RangeBody::name, BodyGroup::group>(table,                     \
                                                       {#name, count, unit, resolution, Text::text, description});
#include "tables/RangeBodySignals.def"
  return table;
}

}  // namespace

const SignalTable& rangeTable() {
  static const SignalTable table = makeTable();
  return table;
}

}  // namespace Kvex::Sto
