#include "nav/NavTables.h"

#include <array>
#include <string>
#include <string_view>
#include <type_traits>

#include "tables/ValueTexts.h"

namespace Kvex::Sto {

namespace {

using Lib::NavField;
using Nav::NavRecord;
using Nav::NavWantTree;

/// The protocols that list a signal.
enum class Listed : std::uint8_t { Quon = 1, Dask = 2, Both = Quon | Dask };

constexpr bool lists(Listed listed, Listed protocol) {
  return (static_cast<unsigned>(listed) & static_cast<unsigned>(protocol)) != 0;
}

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

using ValueText = decltype(SignalInfo::valueText);

/// The text forms that the lists of signals name: enumerations, and these.
namespace Texts {
using namespace Lib;
constexpr ValueText kNoneNames = nullptr;
constexpr ValueText kDateTimeNames = dateTimeValueText;
constexpr ValueText kDateNames = dateValueText;
constexpr ValueText kSpanNames = spanValueText;
constexpr ValueText kDottedAddressNames = dottedAddressText;
constexpr ValueText kPackedTextNames = packedCharactersText;
}  // namespace Texts

template <const auto& kForm>
constexpr ValueText textOf() {
  if constexpr (std::is_convertible_v<decltype(kForm), ValueText>) {
    return kForm;
  } else {
    return enumerationText<kForm>;
  }
}

/// What a row's `source` says about the record: which kind of block its field stands in.
enum Source : std::uint32_t { kRecord = 0, kReceiver = 1, kMeasPoint = 2 };

constexpr std::array<std::string_view, 3> kReceiverPrefixes = {"GpsInt1_", "GpsExt1_", "GpsInt2_"};
constexpr std::uint32_t kPoints = 8;

/// The columns of a row but its name and binding.
struct Columns {
  const char* unit;
  double resolution;
  NavDial dial;
  ValueText text;
  const char* description;
};

class TableBuilder {
 public:
  TableBuilder(SignalTable& table, Listed protocol) : table_(table), protocol_(protocol) {}

  template <class T>
  void add(Listed listed, const std::string& name, const Columns& columns, SignalRow::Accessor accessor,
           SignalRow::Want want, Source source = kRecord, std::uint32_t blockIndex = 0) {
    if (!lists(listed, protocol_)) return;
    SignalRow row;
    row.name = name;
    row.valueType = Lib::kValueTypeOf<T>;
    row.unit = columns.unit;
    row.description = columns.description;
    row.resolution = columns.resolution;
    row.decimals = decimalsOf(columns.resolution);
    row.rangeLow = columns.dial.rangeLow;
    row.rangeHigh = columns.dial.rangeHigh;
    row.dialStart = columns.dial.start;
    row.dialSweep = columns.dial.sweep;
    row.valueText = columns.text;
    row.blockIndex = blockIndex;
    row.source = source;
    row.accessor = accessor;
    row.want = want;
    table_.insert(std::move(row));
  }

  /// One row for each receiver.
  template <class T>
  void addReceivers(Listed listed, const char* name, const Columns& columns, SignalRow::Accessor accessor,
                    SignalRow::Want want) {
    for (std::uint32_t i = 0; i < kReceiverPrefixes.size(); ++i) {
      add<T>(listed, std::string(kReceiverPrefixes[i]) + name, columns, accessor, want, kReceiver, i);
    }
  }

  /// One row for each measurement point.
  template <class T>
  void addPoints(Listed listed, const char* name, const Columns& columns, SignalRow::Accessor accessor,
                 SignalRow::Want want) {
    for (std::uint32_t i = 0; i < kPoints; ++i) {
      add<T>(listed, "MeasPt" + std::to_string(i + 1) + "_" + name, columns, accessor, want, kMeasPoint, i);
    }
  }

 private:
  SignalTable& table_;
  Listed protocol_;
};

void addReceiverRows(TableBuilder& builder) {
#define KVEX_RECEIVER_SIGNAL(Name, Type, Unit, Resolution, Group, Source, Text, Tables, Description)         \
  builder.addReceivers<Type>(                                                                                \
      Listed::Tables, #Name, {Unit, Resolution, Dials::Plain, textOf<Texts::k##Text##Names>(), Description}, \
      accessorOf<NavRecord>([](const NavRecord& record, std::uint32_t index) -> const NavField<Type>& {      \
        return record.receivers[index].Name;                                                                 \
      }),                                                                                                    \
      wantOf<NavWantTree>([](NavWantTree& wants, std::uint32_t index) { wants.receivers[index].Group = true; }));
#include "tables/ReceiverSignals.def"
}

void addPointRows(TableBuilder& builder) {
#define KVEX_POINT_SIGNAL(Name, Type, Unit, Resolution, Group, Source, Text, Tables, Description)            \
  builder.addPoints<Type>(                                                                                   \
      Listed::Tables, #Name, {Unit, Resolution, Dials::Plain, textOf<Texts::k##Text##Names>(), Description}, \
      accessorOf<NavRecord>([](const NavRecord& record, std::uint32_t index) -> const NavField<Type>& {      \
        return record.points[index].Name;                                                                    \
      }),                                                                                                    \
      wantOf<NavWantTree>([](NavWantTree& wants, std::uint32_t index) { wants.points[index].Group = true; }));
#include "tables/MeasPointSignals.def"
}

void addRecordRows(TableBuilder& builder) {
#define KVEX_NAV_SIGNAL(Name, Type, Unit, Resolution, Dial, Group, Source, Text, Tables, Description)                 \
  builder.add<Type>(Listed::Tables, #Name,                                                                            \
                    {Unit, Resolution, Dials::Dial, textOf<Texts::k##Text##Names>(), Description},                    \
                    accessorOf<NavRecord>(                                                                            \
                        [](const NavRecord& record, std::uint32_t) -> const NavField<Type>& { return record.Name; }), \
                    wantOf<NavWantTree>([](NavWantTree& wants, std::uint32_t) { wants.Group = true; }));
#define KVEX_NAV_ROW KVEX_NAV_SIGNAL
#include "tables/NavSignals.def"
}

SignalTable makeTable(Listed protocol) {
  SignalTable table;
  TableBuilder builder(table, protocol);
  addReceiverRows(builder);
  addPointRows(builder);
  addRecordRows(builder);
  return table;
}

}  // namespace

const SignalTable& StaticAccessQuon::table() {
  static const SignalTable kTable = makeTable(Listed::Quon);
  return kTable;
}

const SignalTable& StaticAccessDask::table() {
  static const SignalTable kTable = makeTable(Listed::Dask);
  return kTable;
}

}  // namespace Kvex::Sto
