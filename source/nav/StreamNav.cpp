#include "nav/StreamNav.h"

#include "library/Enumerations.h"
#include "library/Wrapping.h"
#include "nav/DaskDecoder.h"
#include "nav/QuonDecoder.h"
#include "nav/ScanTexts.h"

namespace Kvex::Sto {

using Nav::FeedResult;
using Nav::NavRecord;
using Nav::scanText;

namespace {

/// How far behind the first record the newest known time must lie to stand for that of a last record without time.
constexpr Nano kMinSpan = Lib::kNanosPerSecond;
constexpr Nano kMaxSpan = 6 * 3600 * Lib::kNanosPerSecond;

void describeUnit(Com::TaggedPacket& tag, const NavRecord& last) {
  tag.setText("DevId", scanText(last.DevIDText));
  tag.setText("SerialNumber", scanText(last.SerialNumber));
  tag.setText("Generator", scanText(last.Generator, Lib::kGeneratorNames));
  tag.setText("DateFirmware", scanText(last.DateFirmware));
  tag.setText("DateCalibration", scanText(last.DateCalibration));
  tag.setText("ProductType", scanText(last.ProductType, Lib::kProductTypeNames));
  tag.setText("ProductFamily", scanText(last.ProductFamily, Lib::kProductFamilyNames));
  tag.setText("ProductGroup", scanText(last.ProductGroup, Lib::kProductGroupNames));
  tag.setText("ProductModel", scanText(last.ProductModel, Lib::kProductModelNames));
  tag.setText("ProductGeneration", scanText(last.ProductGeneration, Lib::kProductGenerationNames));
  tag.setText("ProductName", scanText(last.ProductName));
  tag.setText("OutputRegularRate", scanText(last.OutputRegularRate));
}

}  // namespace

template <class Decoder>
bool StreamNav<Decoder>::take(ByteView packet, Pass) {
  const FeedResult result =
      resourceKind() == ResourceKind::Recording ? decoder_.feedStamped(packet, false) : feedRaw(packet);
  return result == FeedResult::ScanEnded;
}

template <class Decoder>
void StreamNav<Decoder>::wantScan() {
  Nav::NavWantTree& wants = decoder_.wants;
  wants.wantAll(false);
  wants.TimeWeekCount = wants.Provenance = wants.NanoFirmware = wants.Generator = true;
  wants.ProductFamily = wants.ProductType = wants.OutputRegularRate = true;
  wantForScan(wants);
}

template <class Decoder>
void StreamNav<Decoder>::prepareScan() {
  wantScan();
  decoder_.settleWants();
}

template <class Decoder>
void StreamNav<Decoder>::want(const std::vector<const SignalRow*>& rows) {
  // What the scan shows stays wanted: the values are those that the scan has seen.
  wantScan();
  for (const SignalRow* row : rows) row->want(&decoder_.wants, row->blockIndex);
  decoder_.settleWants();
}

template <class Decoder>
void StreamNav<Decoder>::describeScan(Com::TaggedPacket& tag) {
  if (resourceKind() == ResourceKind::RangeFile) describeSource();
  describeUnit(tag, last_);
}

template <class Decoder>
bool StreamNav<Decoder>::settleTime() {
  if (!first_.Nano.usable()) return false;
  if (last_.Nano.usable()) return true;
  // Data may end without time: the newest time known still stands for the end, if it is a likely one.
  const Nano last = last_.Nano.value;
  const Nano first = first_.Nano.value;
  if (last < Lib::wrappingAdd(first, kMinSpan) || last > Lib::wrappingAdd(first, kMaxSpan)) return false;
  last_.Nano = {.stamp = last, .flags = 0, .value = last};
  return true;
}

template class StreamNav<Nav::QuonDecoder>;
template class StreamNav<Nav::DaskDecoder>;

}  // namespace Kvex::Sto
