#include "synth/DemoRecording.h"

#include <string>
#include <utility>

#include "synth/VehicleDrive.h"

namespace Kvex::Synth {

namespace {

constexpr Lib::Nano kStart = 1'432'890'018'000'000'000;  // 2025-06-02 09:00:00 UTC
constexpr std::uint32_t kFirstSerial = 100;

/// How a protocol's packets lie in a recording.
using AddPacket = void (LogicalWriter::*)(std::span<const std::uint8_t> packet);

/// The packets of a drive, brought into a logical stream. `Drive` gives packets with `next` and their times with
/// `time`.
template <class Drive>
class DriveStream : public DemoStream {
 public:
  DriveStream(LogicalWriter& writer, AddPacket addPacket, Drive drive)
      : writer_(writer), addPacket_(addPacket), drive_(std::move(drive)) {
    writer_.writePrimary();
  }

  void writeHeaders() override { writer_.writeHeaders(); }

  void writeUntil(Lib::Nano time) override {
    for (;;) {
      if (packet_.empty()) packet_ = drive_.next();
      if (drive_.time() >= time) return;
      (writer_.*addPacket_)(packet_);
      packet_ = {};
    }
  }

 private:
  LogicalWriter& writer_;
  AddPacket addPacket_;
  Drive drive_;
  std::span<const std::uint8_t> packet_;  ///< Made, but not written yet.
};

StreamForm demoForm(std::uint32_t serial, std::string_view tag, std::vector<std::string> headers) {
  headers.insert(headers.begin(), "{Kvex-Grouping}\nGrouping=Demo drive\n");
  return {.serial = serial, .primary = primaryText(tag, headers.size()), .headers = std::move(headers)};
}

std::unique_ptr<DemoStream> openZint(RecordingWriter& recording, std::uint32_t serial, const DemoStart& start) {
  LogicalWriter& writer =
      recording.addStream(demoForm(serial, "[Kvex-Zint]", {VehicleDrive::definition().headerPacket()}));
  return std::make_unique<DriveStream<VehicleDrive>>(writer, &LogicalWriter::add,
                                                     VehicleDrive(start.time, static_cast<std::uint32_t>(start.seed)));
}

constexpr DemoProtocol kProtocols[] = {
    {"zint", "self-describing signals: positions, motion and vehicle data", openZint},
};

}  // namespace

std::span<const DemoProtocol> demoProtocols() {
  return kProtocols;
}

DemoRecording::DemoRecording(std::ostream& out, std::span<const DemoProtocol* const> protocols, std::uint64_t seed)
    : recording_(out), time_(kStart) {
  std::uint32_t serial = kFirstSerial;
  for (const DemoProtocol* protocol : protocols) {
    streams_.push_back(protocol->open(recording_, serial++, {.time = kStart, .seed = seed}));
  }
  // Readers look for streams at the front of a file: all primary packets come ahead of the headers.
  for (const auto& stream : streams_) stream->writeHeaders();
}

void DemoRecording::writeStep() {
  time_ += kStep;
  for (const auto& stream : streams_) stream->writeUntil(time_);
}

}  // namespace Kvex::Synth
