#include "range/RangeTable.h"

#include <array>
#include <string>
#include <utility>

#include "range/RangeRecord.h"
#include "range/RangeWantTree.h"
#include "tables/SignalLine.h"
#include "tables/TableNames.h"

namespace Kvex::Sto {

namespace {

using Lib::NavField;
using Rng::BodyGroup;
using Rng::RangeBody;
using Rng::RangeRecord;
using Rng::RangeTarget;
using Rng::RangeWantTree;
using Rng::TargetGroup;

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

template <auto kField, TargetGroup kGroup>
void insertTarget(SignalTable& table, const SignalLine& line) {
  for (std::uint32_t target = 0; target < Rng::kTargets; ++target) {
    SignalRow row = rowOf(line);
    row.name = "Target" + std::to_string(target + 1) + "_" + line.name;
    row.table = targetTableName(target, line.name, line.group);
    row.source = kTargetSource;
    row.blockIndex = target;
    row.accessor = accessorOf<RangeRecord>([](const RangeRecord& record, std::uint32_t index) -> const auto& {
      return firstElement(record.targets.at(index).*kField);
    });
    row.want =
        wantOf<RangeWantTree>([](RangeWantTree& wants, std::uint32_t index) { wants.targets[index][kGroup] = true; });
    table.insert(std::move(row));
  }
}

template <auto kField, BodyGroup kGroup>
void insertBody(SignalTable& table, const SignalLine& line) {
  SignalRow row = rowOf(line);
  row.table = bodyTableName(line.name, line.group);
  row.accessor = accessorOf<RangeRecord>(
      [](const RangeRecord& record, std::uint32_t) -> const auto& { return firstElement(record.body.*kField); });
  row.want = wantOf<RangeWantTree>([](RangeWantTree& wants, std::uint32_t) { wants.body[kGroup] = true; });
  table.insert(std::move(row));
}

SignalTable makeTable() {
  SignalTable table;
#define KVEX_LINE(Name, Type, Count, Unit, Resolution, Group, Text, Description) \
  signalLine<Type>(#Name, #Group, Count, Unit, Resolution, textForm<Texts::k##Text##Names>(), Description)
#define KVEX_TARGET_SIGNAL(Name, Type, Count, Unit, Resolution, Group, Text, Description) \
  insertTarget<&RangeTarget::Name, TargetGroup::Group>(                                   \
      table, KVEX_LINE(Name, Type, Count, Unit, Resolution, Group, Text, Description));
#include "tables/RangeTargetSignals.def"
#define KVEX_BODY_SIGNAL(Name, Type, Count, Unit, Resolution, Group, Text, Description) \
  insertBody<&RangeBody::Name, BodyGroup::Group>(                                       \
      table, KVEX_LINE(Name, Type, Count, Unit, Resolution, Group, Text, Description));
#include "tables/RangeBodySignals.def"
  return table;
}

}  // namespace

const SignalTable& rangeTable() {
  static const SignalTable table = makeTable();
  return table;
}

}  // namespace Kvex::Sto
