#include "synth/DemoRecording.h"

#include <utility>

#include "nav/NavProtocol.h"
#include "synth/CanBus.h"
#include "synth/NavPackets.h"
#include "synth/RangeChase.h"
#include "synth/VehicleDrive.h"

namespace Kvex::Synth {

namespace {

constexpr Lib::Nano kStart = 1'432'890'018'000'000'000;  // 2025-06-02 09:00:00 UTC

/// The packets of a drive, brought into one logical stream. `Drive` gives packets with `next` and their times with
/// `time`.
template <class Drive>
class DrivePart : public DemoPart {
 public:
  using AddPacket = void (LogicalWriter::*)(std::span<const std::uint8_t> packet);

  DrivePart(LogicalWriter& writer, AddPacket addPacket, Drive drive)
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

/// A chase, with the logical streams of all units.
class ChasePart : public DemoPart {
 public:
  ChasePart(RecordingWriter& recording, std::uint32_t firstSerial, const DemoStart& start)
      : chase_(start.seed, start.time) {
    for (StreamForm& form : RangeChase::streamForms(firstSerial)) {
      writers_.push_back(&recording.addStream(std::move(form)));
      writers_.back()->writePrimary();
    }
  }

  void writeHeaders() override {
    for (LogicalWriter* writer : writers_) writer->writeHeaders();
  }

  void writeUntil(Lib::Nano time) override {
    for (;;) {
      if (packet_.bytes.empty()) packet_ = chase_.next();
      if (packet_.time >= time) return;
      writers_[packet_.stream]->addLed(packet_.bytes);
      packet_ = {};
    }
  }

 private:
  std::vector<LogicalWriter*> writers_;
  RangeChase chase_;
  ChasePacket packet_{};  ///< Made, but not written yet, if it has bytes.
};

LogicalWriter& addStream(RecordingWriter& recording, std::uint32_t serial, std::string_view tag,
                         std::vector<std::string> headers) {
  headers.insert(headers.begin(), "{Kvex-Grouping}\nGrouping=Demo drive\n");
  const std::string primary = primaryText(tag, headers.size());
  return recording.addStream({.serial = serial, .primary = primary, .headers = std::move(headers)});
}

std::unique_ptr<DemoPart> openZint(RecordingWriter& recording, const DemoProtocol& protocol, const DemoStart& start) {
  LogicalWriter& writer =
      addStream(recording, protocol.serial, "[Kvex-Zint]", {VehicleDrive::definition().headerPacket()});
  VehicleDrive drive(start.time, static_cast<std::uint32_t>(start.seed));
  return std::make_unique<DrivePart<VehicleDrive>>(writer, &LogicalWriter::add, std::move(drive));
}

std::unique_ptr<DemoPart> openCan(RecordingWriter& recording, const DemoProtocol& protocol, const DemoStart& start) {
  LogicalWriter& writer = addStream(recording, protocol.serial, "[Kvex-Can]", {CanBus::headerPacket()});
  return std::make_unique<DrivePart<CanBus>>(writer, &LogicalWriter::add, CanBus(start.time, start.seed));
}

std::unique_ptr<DemoPart> openNav(RecordingWriter& recording, const DemoProtocol& protocol, const DemoStart& start,
                                  std::string_view tag, const Nav::NavProtocol& navProtocol) {
  LogicalWriter& writer = addStream(recording, protocol.serial, tag, {});
  NavDrive drive(navProtocol, start.seed, start.time);
  return std::make_unique<DrivePart<NavDrive>>(writer, &LogicalWriter::addLed, std::move(drive));
}

std::unique_ptr<DemoPart> openQuon(RecordingWriter& recording, const DemoProtocol& protocol, const DemoStart& start) {
  return openNav(recording, protocol, start, "[Kvex-Quon]", Nav::kQuonProtocol);
}

std::unique_ptr<DemoPart> openDask(RecordingWriter& recording, const DemoProtocol& protocol, const DemoStart& start) {
  return openNav(recording, protocol, start, "[Kvex-Dask]", Nav::kDaskProtocol);
}

std::unique_ptr<DemoPart> openChase(RecordingWriter& recording, const DemoProtocol& protocol, const DemoStart& start) {
  return std::make_unique<ChasePart>(recording, protocol.serial, start);
}

constexpr DemoProtocol kProtocols[] = {
    {"zint", "self-describing signals: positions, motion and vehicle data", 100, openZint},
    {"can", "the vehicle bus, with its database", 110, openCan},
    {"quon", "a navigation unit", 120, openQuon},
    {"dask", "a navigation unit of the other kind", 130, openDask},
    {"yeld", "a range unit with three targets, and the navigation units of all vehicles", 140, openChase},
};

}  // namespace

std::span<const DemoProtocol> demoProtocols() {
  return kProtocols;
}

DemoRecording::DemoRecording(std::ostream& out, std::span<const DemoProtocol* const> protocols, std::uint64_t seed)
    : recording_(out), time_(kStart) {
  for (const DemoProtocol* protocol : protocols) {
    parts_.push_back(protocol->open(recording_, *protocol, {.time = kStart, .seed = seed}));
  }
  // Readers look for streams at the front of a file: all primary packets come ahead of the headers.
  for (const auto& part : parts_) part->writeHeaders();
}

void DemoRecording::writeStep() {
  time_ += kStep;
  for (const auto& part : parts_) part->writeUntil(time_);
}

BarePackets bareDemo(std::string_view extension, std::uint64_t seed, Lib::Nano length) {
  const Lib::Nano end = kStart + length;
  const auto bareDrive = [&](const Nav::NavProtocol& protocol) -> BarePackets {
    return [drive = std::make_shared<NavDrive>(protocol, seed, kStart), end]() -> std::span<const std::uint8_t> {
      const std::span<const std::uint8_t> packet = drive->next();
      return drive->time() < end ? packet : std::span<const std::uint8_t>();
    };
  };
  if (extension == ".quon") return bareDrive(Nav::kQuonProtocol);
  if (extension == ".dask") return bareDrive(Nav::kDaskProtocol);
  if (extension != ".yeld") return nullptr;
  return [chase = std::make_shared<RangeChase>(seed, kStart), end]() -> std::span<const std::uint8_t> {
    const ChasePacket packet = chase->next();
    return packet.time < end ? chase->wrapped(packet) : std::span<const std::uint8_t>();
  };
}

}  // namespace Kvex::Synth
