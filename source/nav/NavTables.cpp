#include "nav/NavTables.h"

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "nav/ChannelRow.h"
#include "nav/NavProtocol.h"
#include "nav/NavRecord.h"
#include "nav/NavWantTree.h"
#include "tables/SignalLine.h"
#include "tables/TableNames.h"

namespace Kvex::Sto {

namespace {

using Lib::NavField;
using Nav::NavRecord;
using Nav::NavWantTree;
using Nav::Protocols;

/// A round gauge: its range, the position of the range's low end, and the sweep to its high end, in degrees.
struct NavDial {
  double rangeLow = 0;
  double rangeHigh = 0;
  double start = 225;
  double sweep = 270;
};

namespace Dials {
constexpr NavDial Plain;
constexpr NavDial Latitude{-90, 90, 270, -180};
constexpr NavDial Longitude{-180, 180, 90, 360};
constexpr NavDial Velocity{-50, 50, 112.5, 315};
constexpr NavDial DownVelocity{-50, 50, 67.5, -315};
constexpr NavDial Speed{0, 50, 234, -288};
constexpr NavDial Heading{0, 360, 90, -360};
constexpr NavDial Pitch{-16, 16, 324, -288};
constexpr NavDial Roll{-16, 16, 234, -288};
}  // namespace Dials

/// What a row's `source` says about the record: which kind of block its field stands in.
enum Source : std::uint32_t { kRecord = 0, kReceiver = 1, kMeasPoint = 2 };

constexpr std::array<std::string_view, 3> kReceivers = {"GpsInt1", "GpsExt1", "GpsInt2"};
constexpr std::uint32_t kPoints = 8;

/// How a row reaches its field and its want.
struct Binding {
  SignalRow::Accessor accessor;
  SignalRow::Want want;
};

/// Fills the table of one protocol.
class TableBuilder {
 public:
  TableBuilder(SignalTable& table, Protocols protocol) : table_(table), protocol_(protocol) { findChannels(); }

  void addSignal(Protocols listed, const SignalLine& line, const NavDial& dial, const Binding& binding) {
    SignalRow row = rowOf(line);
    row.table = navTableName(line.name, line.group);
    row.rangeLow = dial.rangeLow;
    row.rangeHigh = dial.rangeHigh;
    row.dialStart = dial.start;
    row.dialSweep = dial.sweep;
    add(listed, std::move(row), binding, kRecord, 0);
  }

  /// One row for each receiver.
  void addReceivers(Protocols listed, const SignalLine& line, const Binding& binding) {
    for (std::uint32_t i = 0; i < kReceivers.size(); ++i) {
      SignalRow row = rowOf(line);
      row.name = std::string(kReceivers[i]) + "_" + line.name;
      row.table = receiverTableName(kReceivers[i], line.name, line.group);
      add(listed, std::move(row), binding, kReceiver, i);
    }
  }

  /// One row for each measurement point.
  void addPoints(Protocols listed, const SignalLine& line, const Binding& binding) {
    for (std::uint32_t i = 0; i < kPoints; ++i) {
      SignalRow row = rowOf(line);
      row.name = "MeasPt" + std::to_string(i + 1) + "_" + line.name;
      row.table = pointTableName(i, line.name, line.group);
      add(listed, std::move(row), binding, kMeasPoint, i);
    }
  }

 private:
  void add(Protocols listed, SignalRow row, const Binding& binding, Source source, std::uint32_t blockIndex) {
    if (!Nav::contains(listed, protocol_)) return;
    row.source = source;
    row.blockIndex = blockIndex;
    row.accessor = binding.accessor;
    row.want = binding.want;
    if (const auto found = channels_.find(row.accessor(&record_, blockIndex)); found != channels_.end()) {
      row.message = found->second;
    }
    table_.insert(std::move(row));
  }

  /// A field that one channel alone changes belongs to the message of its number.
  void findChannels() {
    for (std::uint8_t channel = 0; channel < Nav::kChannelCount; ++channel) {
      for (const Nav::ChannelRow& row : Nav::channelRows(channel)) {
        if (!Nav::contains(row.form.protocols, protocol_)) continue;
        const void* const field =
            std::visit([&](const auto& target) -> const void* { return &fieldOf(record_, target); }, row.field);
        const auto [place, isNew] = channels_.emplace(field, channel);
        if (row.form.isShared || place->second != channel) place->second = SignalRow::kAnyMessage;
      }
    }
  }

  SignalTable& table_;
  Protocols protocol_;
  NavRecord record_;  ///< For the places of fields only.
  std::map<const void*, std::int32_t> channels_;
};

#define KVEX_LINE(Name, Type, Unit, Resolution, Group, Text, Description) \
  signalLine<Type>(#Name, #Group, 1, Unit, Resolution, textForm<Texts::k##Text##Names>(), Description)

void addReceiverRows(TableBuilder& builder) {
#define KVEX_RECEIVER_SIGNAL(Name, Type, Unit, Resolution, Group, Source, Text, Tables, Description)     \
  builder.addReceivers(                                                                                  \
      Protocols::Tables, KVEX_LINE(Name, Type, Unit, Resolution, Group, Text, Description),              \
      {accessorOf<NavRecord>([](const NavRecord& record, std::uint32_t index) -> const NavField<Type>& { \
         return record.receivers[index].Name;                                                            \
       }),                                                                                               \
       wantOf<NavWantTree>([](NavWantTree& wants, std::uint32_t index) { wants.receivers[index].Group = true; })});
#include "tables/ReceiverSignals.def"
}

void addPointRows(TableBuilder& builder) {
#define KVEX_POINT_SIGNAL(Name, Type, Unit, Resolution, Group, Source, Text, Tables, Description)        \
  builder.addPoints(                                                                                     \
      Protocols::Tables, KVEX_LINE(Name, Type, Unit, Resolution, Group, Text, Description),              \
      {accessorOf<NavRecord>([](const NavRecord& record, std::uint32_t index) -> const NavField<Type>& { \
         return record.points[index].Name;                                                               \
       }),                                                                                               \
       wantOf<NavWantTree>([](NavWantTree& wants, std::uint32_t index) { wants.points[index].Group = true; })});
#include "tables/MeasPointSignals.def"
}

void addRecordRows(TableBuilder& builder) {
#define KVEX_NAV_SIGNAL(Name, Type, Unit, Resolution, Dial, Group, Source, Text, Tables, Description)                  \
  builder.addSignal(Protocols::Tables, KVEX_LINE(Name, Type, Unit, Resolution, Group, Text, Description), Dials::Dial, \
                    {accessorOf<NavRecord>(                                                                            \
                         [](const NavRecord& record, std::uint32_t) -> const NavField<Type>& { return record.Name; }), \
                     wantOf<NavWantTree>([](NavWantTree& wants, std::uint32_t) { wants.Group = true; })});
#define KVEX_NAV_ROW KVEX_NAV_SIGNAL
#include "tables/NavSignals.def"
}

SignalTable makeTable(Protocols protocol) {
  SignalTable table;
  TableBuilder builder(table, protocol);
  addReceiverRows(builder);
  addPointRows(builder);
  addRecordRows(builder);
  return table;
}

}  // namespace

const SignalTable& StaticAccessQuon::table() {
  static const SignalTable kTable = makeTable(Protocols::Quon);
  return kTable;
}

const SignalTable& StaticAccessDask::table() {
  static const SignalTable kTable = makeTable(Protocols::Dask);
  return kTable;
}

}  // namespace Kvex::Sto
