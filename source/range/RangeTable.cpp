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
constexpr TextForm DottedAddress = dottedAddressText;
constexpr TextForm PackedText = packedCharactersText;
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
const NavField<T>& elementOf(const NavField<T>& field, std::uint32_t) {
  return field;
}

template <class T, std::size_t Count>
const NavField<T>& elementOf(const std::array<NavField<T>, Count>& fields, std::uint32_t element) {
  return fields[element];
}

template <class T>
RangeTable::Row<T> rowOf(const Line& line, const std::string& prefix = {}) {
  RangeTable::Row<T> row;
  row.name = prefix + line.name;
  row.count = line.count;
  row.unit = line.unit;
  row.description = line.description;
  row.resolution = line.resolution;
  row.decimals = decimalsOf(line.resolution);
  row.valueText = line.text;
  return row;
}

Shape shapeOf(const Line& line) {
  return line.count == 1 ? Shape::Scalar : Shape::Array;
}

template <class T, auto kField, TargetGroup kGroup>
void insertTarget(RangeTable& table, const Line& line) {
  for (std::uint32_t target = 0; target < Rng::kTargets; ++target) {
    RangeTable::Row<T> row = rowOf<T>(line, "Target" + std::to_string(target + 1) + "_");
    row.source = kTargetSource;
    row.elementIndex = target;
    row.accessor = [](const RangeRecord& record, std::uint32_t index, std::uint32_t element) -> const NavField<T>& {
      return elementOf(record.targets.at(index).*kField, element);
    };
    row.want = [](RangeWantTree& wants, std::uint32_t index) { wants.targets[index][kGroup] = true; };
    table.insert(std::move(row), shapeOf(line));
  }
}

template <class T, auto kField, BodyGroup kGroup>
void insertBody(RangeTable& table, const Line& line) {
  RangeTable::Row<T> row = rowOf<T>(line);
  row.accessor = [](const RangeRecord& record, std::uint32_t, std::uint32_t element) -> const NavField<T>& {
    return elementOf(record.body.*kField, element);
  };
  row.want = [](RangeWantTree& wants, std::uint32_t) { wants.body[kGroup] = true; };
  table.insert(std::move(row), shapeOf(line));
}

RangeTable makeTable() {
  RangeTable table;
#define KVEX_TARGET_SIGNAL(Name, Type, Count, Unit, Resolution, Group, TextName, Description) \
  insertTarget<Type, &RangeTarget::Name, TargetGroup::Group>(                                 \
      table, {#Name, Count, Unit, Resolution, Text::TextName, Description});
#include "tables/RangeTargetSignals.def"
#define KVEX_BODY_SIGNAL(Name, Type, Count, Unit, Resolution, Group, TextName, Description) \
  insertBody<Type, &RangeBody::Name, BodyGroup::Group>(table,                               \
                                                       {#Name, Count, Unit, Resolution, Text::TextName, Description});
#include "tables/RangeBodySignals.def"
  return table;
}

}  // namespace

const RangeTable& rangeTable() {
  static const RangeTable table = makeTable();
  return table;
}

}  // namespace Kvex::Sto
