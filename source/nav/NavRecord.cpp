#include "nav/NavRecord.h"

namespace Kvex::Nav {

namespace {

NavRecord makeResetRecord() {
  NavRecord record;
  for (ReceiverBlock& receiver : record.receivers) {
#define KVEX_RECEIVER_SIGNAL(Name, ...) receiver.Name.reset();
#include "tables/ReceiverSignals.def"
  }
  for (MeasPointBlock& point : record.points) {
#define KVEX_POINT_SIGNAL(Name, ...) point.Name.reset();
#include "tables/MeasPointSignals.def"
  }
#define KVEX_NAV_SIGNAL(Name, ...) record.Name.reset();
#include "tables/NavSignals.def"

  const auto resetAll = [](auto&... fields) { (fields.reset(), ...); };
  resetAll(record.BlockNano, record.NanoSeconds, record.NanoFromOriginSeconds, record.NanoFromStartSeconds,
           record.NanoFromFirstSeconds, record.NanoFromInitSeconds, record.WSpeedNanoSeconds, record.Trig1FallSeconds,
           record.Trig1RiseSeconds, record.Trig2FallSeconds, record.Trig2RiseSeconds, record.DigitalOutSeconds,
           record.DigitalOut2Seconds, record.DevIDText, record.OsScriptIDText, record.ProductName,
           record.BaseStationIDText, record.OmniStarSerial);
  return record;
}

}  // namespace

void NavRecord::reset() {
  static const NavRecord kResetRecord = makeResetRecord();
  *this = kResetRecord;
}

}  // namespace Kvex::Nav
