#include "can/StreamCan.h"

#include <cmath>
#include <string_view>
#include <utility>

#include "can/Utf8Text.h"
#include "library/Wrapping.h"
#include "tables/ValueTexts.h"

namespace Kvex::Sto {
namespace {

using Can::CanRecord;
using Can::CanSignal;
using Can::CanTimes;
using Lib::NavField;
using Lib::Flag::kNotAvailable;

using CanTable = SignalTable<CanRecord, std::monostate>;

constexpr std::string_view kDatabaseTag = "(Kvex-Can-Dbc)";
/// A packet of classic frames: the time, and 16 bytes for each frame. Only these are looked at by the probe.
constexpr std::size_t kClassicFrameSize = 16;
/// The source word of rows that the recording defines.
constexpr std::uint32_t kDatabaseSource = 1;

/// The row of a time signal: `kField` of the record's times.
template <auto kField>
void insertTime(CanTable& table, std::string_view name, std::string_view unit, std::string_view description,
                double resolution, decltype(SignalInfo::valueText) valueText = nullptr) {
  using Field = std::remove_reference_t<decltype(std::declval<CanTimes>().*kField)>;
  using T = decltype(Field::value);
  CanTable::Row<T> row;
  row.name = name;
  row.unit = unit;
  row.description = description;
  row.resolution = resolution;
  row.decimals = decimalsOf(resolution);
  row.valueText = valueText;
  row.accessor = [](const CanRecord& record, std::uint32_t, std::uint32_t) -> const NavField<T>& {
    return record.times.*kField;
  };
  table.insert<T>(std::move(row));
}

const CanTable& timeTable() {
  static const CanTable table = [] {
    CanTable rows;
    insertTime<&CanTimes::nano>(rows, "Nano", "ns", "Nanoseconds from GPS time zero (0h 1980-01-06).", 1.0,
                                dateTimeValueText);
    insertTime<&CanTimes::nanoFromOrigin>(rows, "NanoFromOrigin", "ns", "Nanoseconds from data origin.", 1.0,
                                          spanValueText);
    insertTime<&CanTimes::nanoFromStart>(rows, "NanoFromStart", "ns", "Nanoseconds from start of data.", 1.0,
                                         spanValueText);
    insertTime<&CanTimes::nanoFromFirst>(rows, "NanoFromFirst", "ns", "Nanoseconds from data first valid time.", 1.0,
                                         spanValueText);
    insertTime<&CanTimes::weekCount>(rows, "TimeWeekCount", "week", "GPS time format, week counter.", 1.0);
    insertTime<&CanTimes::weekSecond>(rows, "TimeWeekSecond", "s", "GPS time format, seconds into week.", 0.0);
    return rows;
  }();
  return table;
}

}  // namespace

StreamCan::StreamCan(ResourceKind resourceKind, std::uint32_t serial)
    : TabledStream(resourceKind, serial, StreamCodec::Can, {&timeTable(), &table_}), table_(timeTable().count()) {
  record_.reset();
}

bool StreamCan::headerReady() {
  const Com::TaggedPacket* const database = header.findHeader(kDatabaseTag);
  if (database == nullptr) return false;
  decoder_ = Can::CanDecoder(Can::CanDatabase(database->data));
  // The rows read the first and the last record too, whether a pass has come to its end or not.
  record_.signals = firstRecord_.signals = lastRecord_.signals = decoder_.emptyFields();
  timeLine_ = {};
  probing_ = true;
  record_.reset();
  headerAccepted = true;
  for (const CanSignal& signal : decoder_.database().signals()) insertRow(signal);
  return true;
}

void StreamCan::insertRow(const CanSignal& signal) {
  std::visit(
      [&]<class T>(const NavField<T>&) {
        Table::Row<T> row;
        row.name = Can::utf8Text(signal.name);
        row.unit = Can::utf8Text(signal.unit);
        row.description = Can::utf8Text(signal.comment);
        row.resolution = std::is_floating_point_v<T> ? std::abs(signal.factor.asDouble) : 1.0;
        row.decimals = decimalsOf(row.resolution);
        row.rangeLow = signal.minimum.asDouble;
        row.rangeHigh = signal.maximum.asDouble;
        row.groupMask = kDefinedGroup;
        row.elementIndex = signal.index;
        row.source = kDatabaseSource;
        if (row.decimals >= 1 && row.decimals <= 20) row.valueText = fixedDecimalsText;
        row.accessor = [](const CanRecord& record, std::uint32_t index, std::uint32_t) -> const NavField<T>& {
          return *std::get_if<NavField<T>>(&record.signals[index]);
        };
        table_.insert<T>(std::move(row));
      },
      record_.signals[signal.index]);
}

bool StreamCan::take(ByteView packet) {
  const Nano t = Can::packetTime(packet);
  if (t == Lib::kNoTime) return false;
  if (probing_) return probe(packet, t);
  decode(packet, t);
  return false;
}

bool StreamCan::probe(ByteView packet, Nano t) {
  if (packet.size() % kClassicFrameSize != Can::kPacketTimeSize) return false;
  if (!timeLine_.probe(t)) return false;
  probing_ = false;
  return true;
}

void StreamCan::decode(ByteView packet, Nano t) {
  const Nano time = timeLine_.absolute(t);
  setTime(time);
  decoder_.decode(packet, time);
}

void StreamCan::setTime(Nano t) {
  CanTimes& times = record_.times;
  const auto set = [t](auto& field, auto value) { field = {.stamp = t, .flags = 0, .stamp2 = 0, .value = value}; };
  const auto setFrom = [&](NavField<Nano>& field, Nano base) {
    if (base == Lib::kNoTime) {
      field.flags = kNotAvailable;
    } else {
      set(field, Lib::wrappingSubtract(t, base));
    }
  };
  const Can::CanTimeLine::Bases& bases = timeLine_.bases();
  set(times.nano, t);
  setFrom(times.nanoFromOrigin, bases.origin);
  setFrom(times.nanoFromStart, bases.start);
  setFrom(times.nanoFromFirst, bases.first);
  if (t < 0) {
    times.weekCount.flags = kNotAvailable;
    times.weekSecond.flags = kNotAvailable;
  } else {
    set(times.weekCount, static_cast<std::uint32_t>(t / Lib::kNanosPerWeek));
    set(times.weekSecond, static_cast<double>(t % Lib::kNanosPerWeek) / Lib::kNanosPerSecond);
  }
}

void StreamCan::probeDone() {
  reset();
  if (headerAccepted) firstRecord_ = liveRecord();
}

void StreamCan::scanDone() {
  if (headerAccepted) lastRecord_ = liveRecord();
  reset();
  header.addHeader(scanTag());
  hasTime = liveTime().usable() && timeOf(firstRecord_).usable() && timeOf(lastRecord_).usable();
}

void StreamCan::reset() {
  // A first pass that found no joint ends here too: the packets are decoded with the times that they have.
  probing_ = false;
  decoder_.reset();
  record_.reset();
  if (const auto first = timeLine_.firstTime()) setTime(*first);
  followTime(0);
}

const CanRecord& StreamCan::liveRecord() {
  decoder_.extract(record_.signals);
  return record_;
}

}  // namespace Kvex::Sto
