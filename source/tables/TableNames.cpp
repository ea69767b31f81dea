#include "tables/TableNames.h"

#include <algorithm>
#include <span>

namespace Kvex::Sto {

namespace {

/// A group, or a signal that other packets write than the rest of its group, with its table.
struct NamedTable {
  std::string_view name;
  std::string_view table;
};

#define KVEX_NAV_GROUP(Name, Table, ...) {#Name, Table},
constexpr NamedTable kNavGroups[] = {
#include "tables/NavGroups.def"
};
#define KVEX_NAV_TABLE(Name, Table) {#Name, Table},
constexpr NamedTable kNavSignals[] = {
#include "tables/NavGroups.def"
};
#define KVEX_RECEIVER_GROUP(Name, Table) {#Name, Table},
constexpr NamedTable kReceiverGroups[] = {
#include "tables/ReceiverGroups.def"
};
#define KVEX_RECEIVER_TABLE(Name, Table) {#Name, Table},
constexpr NamedTable kReceiverSignals[] = {
#include "tables/ReceiverGroups.def"
};
#define KVEX_POINT_GROUP(Name, Table, ...) {#Name, Table},
constexpr NamedTable kPointGroups[] = {
#include "tables/MeasPointGroups.def"
};
#define KVEX_TARGET_GROUP(Name, Table, ...) {#Name, Table},
constexpr NamedTable kTargetGroups[] = {
#include "tables/RangeTargetGroups.def"
};
#define KVEX_TARGET_TABLE(Name, Table) {#Name, Table},
constexpr NamedTable kTargetSignals[] = {
#include "tables/RangeTargetGroups.def"
};
#define KVEX_BODY_GROUP(Name, Table, ...) {#Name, Table},
constexpr NamedTable kBodyGroups[] = {
#include "tables/RangeBodyGroups.def"
};
#define KVEX_BODY_TABLE(Name, Table) {#Name, Table},
constexpr NamedTable kBodySignals[] = {
#include "tables/RangeBodyGroups.def"
};

std::string tableName(std::span<const NamedTable> signals, std::string_view signal, std::span<const NamedTable> groups,
                      std::string_view group) {
  const auto ownTable = std::ranges::find(signals, signal, &NamedTable::name);
  if (ownTable != signals.end()) return std::string(ownTable->table);
  const auto groupTable = std::ranges::find(groups, group, &NamedTable::name);
  return groupTable == groups.end() ? std::string() : std::string(groupTable->table);
}

std::string numbered(std::string_view block, std::uint32_t index) {
  return std::string(block) + " " + std::to_string(index + 1) + " ";
}

}  // namespace

std::string navTableName(std::string_view signal, std::string_view group) {
  return tableName(kNavSignals, signal, kNavGroups, group);
}

std::string receiverTableName(std::string_view receiver, std::string_view signal, std::string_view group) {
  return std::string(receiver) + " " + tableName(kReceiverSignals, signal, kReceiverGroups, group);
}

std::string pointTableName(std::uint32_t point, std::string_view signal, std::string_view group) {
  return numbered("point", point) + tableName({}, signal, kPointGroups, group);
}

std::string targetTableName(std::uint32_t target, std::string_view signal, std::string_view group) {
  return numbered("target", target) + tableName(kTargetSignals, signal, kTargetGroups, group);
}

std::string bodyTableName(std::string_view signal, std::string_view group) {
  return tableName(kBodySignals, signal, kBodyGroups, group);
}

}  // namespace Kvex::Sto
