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
bool StreamNav<Decoder>::probeRaw(ByteView packet) {
  // A packet that does not fit ends the pass for this Stream.
  return feedRaw(packet).value_or(FeedResult::ScanEnded) == FeedResult::ScanEnded;
}

template <class Decoder>
bool StreamNav<Decoder>::probePacket(ByteView packet) {
  return decoder_.feedStamped(packet, false) == FeedResult::ScanEnded;
}

template <class Decoder>
bool StreamNav<Decoder>::headerReady() {
  headerAccepted = true;
  return true;
}

template <class Decoder>
void StreamNav<Decoder>::reset() {
  decoder_.finishScan(true);
  followTime(0);
}

template <class Decoder>
void StreamNav<Decoder>::probeDone() {
  reset();
  if (headerAccepted) firstRecord_ = decoder_.record;

  Nav::NavWantTree& wants = decoder_.wants;
  wants.wantAll(false);
  wants.TimeWeekCount = wants.Provenance = wants.NanoFirmware = wants.Generator = true;
  wants.ProductFamily = wants.ProductType = wants.OutputRegularRate = true;
  wantForScan(wants);
  decoder_.settleWants();
}

template <class Decoder>
void StreamNav<Decoder>::scanDone() {
  if (headerAccepted) lastRecord_ = decoder_.record;
  reset();
  if (resourceKind == ResourceKind::RangeFile) describeSource();
  Com::TaggedPacket tag = scanTag();
  describeUnit(tag, lastRecord_);
  header.addHeader(std::move(tag));
  settleTime();
}

template <class Decoder>
void StreamNav<Decoder>::settleTime() {
  if (!firstRecord_.Nano.usable()) return;
  if (!lastRecord_.Nano.usable()) {
    // Data may end without time: the newest time known still tells the end, if it is a likely one.
    const Nano last = lastRecord_.Nano.value;
    const Nano first = firstRecord_.Nano.value;
    if (last < Lib::wrappingAdd(first, kMinSpan) || last > Lib::wrappingAdd(first, kMaxSpan)) return;
    lastRecord_.Nano = {.stamp = last, .flags = 0, .stamp2 = 0, .value = last};
  }
  hasTime = true;
}

template <class Decoder>
void StreamNav<Decoder>::prepareBlock(std::uint32_t block) {
  wantSubscribed(block, decoder_.wants);
  decoder_.settleWants();
}

template class StreamNav<Nav::QuonDecoder>;
template class StreamNav<Nav::DaskDecoder>;

}  // namespace Kvex::Sto
