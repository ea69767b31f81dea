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

constexpr std::string_view kDatabaseTag = "(Kvex-Can-Dbc)";
/// A packet of classic frames: the time, and 16 bytes for each frame. Only these are looked at by the probe.
constexpr std::size_t kClassicFrameSize = 16;
/// The source word of rows that the recording defines.
constexpr std::uint32_t kDatabaseSource = 1;

/// The table of the signals that the packet's time gives.
constexpr std::string_view kTimeTable = "time";

/// The row of a time signal: `kField` of the record's times.
template <auto kField>
void insertTime(SignalTable& table, std::string_view name, std::string_view unit, std::string_view description,
                double resolution, decltype(SignalInfo::valueText) valueText = nullptr) {
  using Field = std::remove_reference_t<decltype(std::declval<CanTimes>().*kField)>;
  SignalRow row;
  row.name = name;
  row.valueType = Lib::kValueTypeOf<decltype(Field::value)>;
  row.unit = unit;
  row.description = description;
  row.resolution = resolution;
  row.decimals = decimalsOf(resolution);
  row.valueText = valueText;
  row.table = kTimeTable;
  row.accessor = accessorOf<CanRecord>(
      [](const CanRecord& record, std::uint32_t) -> const Field& { return record.times.*kField; });
  table.insert(std::move(row));
}

const SignalTable& timeTable() {
  static const SignalTable table = [] {
    SignalTable rows;
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

StreamCan::StreamCan(const StreamIdentity& identity)
    : RecordStream(identity, {&timeTable(), &table_}), table_(timeTable().count()) {
  record_.reset();
}

bool StreamCan::readHeader() {
  const Com::TaggedPacket* const database = header().findHeader(kDatabaseTag);
  if (database == nullptr) return false;
  decoder_ = Can::CanDecoder(Can::CanDatabase(database->data));
  // The rows read the first and the last record too, whether a pass has come to its end or not.
  record_.signals = first_.signals = last_.signals = decoder_.emptyFields();
  timeLine_ = {};
  probing_ = true;
  record_.reset();
  for (const Can::CanMessage& message : decoder_.database().messages()) {
    for (const CanSignal& signal : decoder_.database().signalsOf(message)) insertRow(message, signal);
  }
  return true;
}

void StreamCan::insertRow(const Can::CanMessage& message, const CanSignal& signal) {
  std::visit(
      [&]<class T>(const NavField<T>&) {
        SignalRow row;
        row.name = Can::utf8Text(signal.name);
        row.valueType = Lib::kValueTypeOf<T>;
        row.unit = Can::utf8Text(signal.unit);
        row.description = Can::utf8Text(signal.comment);
        row.resolution = std::is_floating_point_v<T> ? std::abs(signal.factor.asDouble) : 1.0;
        row.decimals = decimalsOf(row.resolution);
        row.rangeLow = signal.minimum.asDouble;
        row.rangeHigh = signal.maximum.asDouble;
        row.groupMask = kDefinedGroup;
        row.table = Can::utf8Text(message.label());
        row.message = static_cast<std::int32_t>(message.index);
        row.blockIndex = signal.index;
        row.source = kDatabaseSource;
        row.multiplexer = multiplexerOf(signal);
        if (row.decimals >= 1 && row.decimals <= 20) row.valueText = fixedDecimalsText;
        row.accessor = accessorOf<CanRecord>([](const CanRecord& record, std::uint32_t index) -> const NavField<T>& {
          return *std::get_if<NavField<T>>(&record.signals[index]);
        });
        table_.insert(std::move(row));
      },
      record_.signals[signal.index]);
}

std::shared_ptr<const MultiplexerInfo> StreamCan::multiplexerOf(const CanSignal& signal) const {
  if (signal.muxSwitch == CanSignal::kNoSwitch) return nullptr;
  auto info = std::make_shared<MultiplexerInfo>();
  info->signal = Can::utf8Text(decoder_.database().signals()[signal.muxSwitch].name);
  for (const Can::MuxRange& range : signal.muxRanges) info->values.emplace_back(range.first, range.last);
  return info;
}

bool StreamCan::take(ByteView packet, Pass) {
  const Nano t = Can::packetTime(packet);
  if (t == Lib::kNoTime) return false;
  if (probing_) return probe(packet, t);
  setTime(timeLine_.absolute(t));
  decoder_.decode(packet, record_.times.nano.value, record_.signals);
  return false;
}

void StreamCan::addKinds(ByteView packet, std::vector<std::uint64_t>& kinds) const {
  Can::forEachFrame(packet, [&](std::uint32_t id, ByteView data) { decoder_.addKinds(id, data, kinds); });
}

std::size_t StreamCan::takeStep(ByteView packet, std::size_t from) {
  stepMessage_ = SignalRow::kNoMessage;
  if (from == 0) {
    const Nano t = Can::packetTime(packet);
    if (t == Lib::kNoTime) return packet.size();
    setTime(timeLine_.absolute(t));
    return Can::kPacketTimeSize;
  }
  return Can::readFrame(packet, from, [&](std::uint32_t id, ByteView data) {
    const Can::CanMessage* const message = decoder_.decodeFrame(id, data, record_.times.nano.value, record_.signals);
    if (message == nullptr) return;
    stepMessage_ = static_cast<std::int32_t>(message->index);
    decoder_.extract(record_.signals);
  });
}

bool StreamCan::probe(ByteView packet, Nano t) {
  if (packet.size() % kClassicFrameSize != Can::kPacketTimeSize) return false;
  if (!timeLine_.probe(t)) return false;
  probing_ = false;
  return true;
}

void StreamCan::setTime(Nano t) {
  CanTimes& times = record_.times;
  const auto setFrom = [&](NavField<Nano>& field, Nano base) {
    if (base == Lib::kNoTime) {
      field.flags = kNotAvailable;
    } else {
      field.write(Lib::wrappingSubtract(t, base), t);
    }
  };
  const Can::CanTimeLine::Bases& bases = timeLine_.bases();
  times.nano.write(t, t);
  setFrom(times.nanoFromOrigin, bases.origin);
  setFrom(times.nanoFromStart, bases.start);
  setFrom(times.nanoFromFirst, bases.first);
  if (t < 0) {
    times.weekCount.flags = kNotAvailable;
    times.weekSecond.flags = kNotAvailable;
  } else {
    times.weekCount.write(static_cast<std::uint32_t>(t / Lib::kNanosPerWeek), t);
    times.weekSecond.write(static_cast<double>(t % Lib::kNanosPerWeek) / Lib::kNanosPerSecond, t);
  }
}

void StreamCan::reset() {
  // A first pass that found no joint ends here too: the packets are decoded with the times that they have.
  probing_ = false;
  decoder_.reset();
  record_.reset();
  if (const auto first = timeLine_.firstTime()) setTime(*first);
}

CanRecord& StreamCan::live() {
  decoder_.extract(record_.signals);
  return record_;
}

}  // namespace Kvex::Sto
