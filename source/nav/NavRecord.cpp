#include "nav/NavRecord.h"

namespace Kvex::Nav {

namespace {

/// Calls `visitor` with every field of the record.
template <class Visitor>
void forEachField(NavRecord& record, Visitor visitor) {
  for (ReceiverBlock& receiver : record.receivers) {
#define KVEX_RECEIVER_SIGNAL(Name, ...) visitor(receiver.Name);
#include "tables/ReceiverSignals.def"
  }
  for (MeasPointBlock& point : record.points) {
#define KVEX_POINT_SIGNAL(Name, ...) visitor(point.Name);
#include "tables/MeasPointSignals.def"
  }
#define KVEX_NAV_SIGNAL(Name, ...) visitor(record.Name);
#include "tables/NavSignals.def"

  const auto visitAll = [&](auto&... fields) { (visitor(fields), ...); };
  visitAll(record.BlockNano, record.NanoSeconds, record.NanoFromOriginSeconds, record.NanoFromStartSeconds,
           record.NanoFromFirstSeconds, record.NanoFromInitSeconds, record.WSpeedNanoSeconds, record.Trig1FallSeconds,
           record.Trig1RiseSeconds, record.Trig2FallSeconds, record.Trig2RiseSeconds, record.DigitalOutSeconds,
           record.DigitalOut2Seconds, record.DevIDText, record.OsScriptIDText, record.ProductName,
           record.BaseStationIDText, record.OmniStarSerial);
}

NavRecord makeResetRecord() {
  NavRecord record;
  forEachField(record, [](auto& field) { field.reset(); });
  return record;
}

}  // namespace

void NavRecord::reset() {
  static const NavRecord kResetRecord = makeResetRecord();
  *this = kResetRecord;
}

void NavRecord::clearWritten() {
  forEachField(*this, [](auto& field) { field.written = false; });
}

}  // namespace Kvex::Nav
