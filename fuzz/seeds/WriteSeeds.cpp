// Writes the first inputs of the fuzz targets: write_seeds DIRECTORY makes one folder per target in it.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <tuple>

#include "recording/OggPage.h"
#include "synth/CanBus.h"
#include "synth/NavPackets.h"
#include "synth/RangeChase.h"
#include "synth/RecordingWriter.h"
#include "synth/VehicleDrive.h"

namespace {

using namespace Kvex::Synth;
using Kvex::Com::PageFlag;

constexpr std::int64_t kStart = 1'417'651'425'000'000'000;

const DamagePlan kDamages[] = {{},
                               {.drop = 0.2},
                               {.repeat = 0.2, .delay = 0.2},
                               {.flip = 0.3, .repairChecksums = true},
                               {.junk = 0.3},
                               {.truncateAt = 2500}};

/// A short recording with all that its form allows: two streams and a foreign one, a header packet across pages, a
/// repeat block, marked pages, gaps and last pages.
std::string makeRecording(const DamagePlan& damage) {
  std::ostringstream out;
  RecordingWriter writer(out);
  LogicalWriter& zint =
      writer.addStream({.serial = 1,
                        .primary = primaryText("[Kvex-Zint]", 2),
                        .headers = {VehicleDrive::definition().headerPacket(), "{Kvex-Grouping}Grouping=Run 1\n"},
                        .packetsPerPage = 8});
  LogicalWriter& quon = writer.addStream({.serial = 2, .primary = primaryText("[Kvex-Quon]", 0), .packetsPerPage = 3});
  LogicalWriter& foreign = writer.addStream({.serial = 3, .primary = "\x01other"});
  for (LogicalWriter* stream : {&zint, &quon, &foreign}) stream->writeHeader();
  writer.setDamage(damage);
  VehicleDrive drive(kStart);
  const std::string status(72, '\xE7');
  for (int i = 0; i < 60; ++i) {
    zint.add(drive.next());
    quon.addLed(bytesOf(status));
    if (i == 20) zint.writeHeader();
    if (i == 30) quon.skipPages(2);
    if (i == 40) quon.setExtraFlags(PageFlag::kMarked);
  }
  writer.end();
  return out.str();
}

class SeedFolder {
 public:
  explicit SeedFolder(const std::filesystem::path& path) : path_(path) { std::filesystem::create_directories(path_); }

  void add(const std::string& bytes) const {
    static int number = 0;
    std::ofstream(path_ / ("seed" + std::to_string(number++)), std::ios::binary) << bytes;
  }

 private:
  std::filesystem::path path_;
};

void writeRecordings(const SeedFolder& folder) {
  for (const DamagePlan& plan : kDamages) folder.add(makeRecording(plan));
}

void writeTaggedPackets(const SeedFolder& folder) {
  for (const char* bytes : {"[Kvex-Zint]headers=2\nWriter=synth\n", "{Kvex-Grouping}Grouping=Run 1\n", "<T>raw", "|T|x",
                            "(Kvex-Can-Dbc)BO_ 1 x: 8 y", "[Kvex/x]", "{T}a=b=c\xC3\n=\n"}) {
    folder.add(bytes);
  }
  folder.add(VehicleDrive::definition().headerPacket());
}

void writeCanDatabases(const SeedFolder& folder) {
  const std::string bus = CanBus::database();
  folder.add(bus.substr(0, 3000));
  folder.add(
      "BU_ : A B\rBO_ 4294967295 M: 64 X\n SG_ L m1M : 511|512@1- (1e-3,18446744073709551616) [-1.5|+2.] \"\xB0\" X\n"
      "SG_ B : 7|64@0- (-2,9223372036854775807) [0|1] \"a \\\"b\\\"\" X\nCM_ SG_ -1 B \"\xC3\xA9\nCM_ BO_ 1 \"\"");
  for (const BusMessage& message : busMessages()) {
    const std::size_t begin = bus.find("BO_ " + std::to_string(message.id));
    folder.add(bus.substr(begin, bus.find("\n\n", begin) - begin));
  }
}

/// As the target takes packets: a length byte before each.
void writeCanPackets(const SeedFolder& folder) {
  constexpr std::int64_t kRelativeStart = 100;
  for (const std::int64_t start : {kStart, kRelativeStart, std::int64_t{-5}}) {
    CanBus bus(start);
    std::string bytes;
    for (int i = 0; i < 60; ++i) {
      const auto packet = bus.next();
      if (packet.size() > UINT8_MAX) continue;
      bytes += static_cast<char>(packet.size());
      bytes.append(packet.begin(), packet.end());
    }
    folder.add(bytes);
  }
}

/// As the target takes them: a byte that picks what is wanted, then type, length and body of each packet.
void writeRangePackets(const SeedFolder& folder) {
  for (const char wants : {0, 1, 2, 3}) {
    RangeChase chase(static_cast<std::uint64_t>(wants), kStart);
    std::string bytes(1, wants);
    for (int i = 0; i < 400; ++i) {
      const ChasePacket packet = chase.next();
      const std::span<const std::uint8_t> frame = chase.wrapped(packet);
      const std::size_t length = frame.size() - 5;
      if (length >= 200 || (packet.stream != 0 && i % 8 != 0)) continue;
      bytes += static_cast<char>(frame[1]);
      bytes += static_cast<char>(length);
      bytes.append(frame.begin() + 4, frame.end() - 1);
    }
    folder.add(bytes);
  }
}

/// As the targets take them: a byte that picks how much is wanted, and packets one after the other.
void writeNavPackets(const SeedFolder& folder, const Kvex::Nav::NavProtocol& protocol) {
  for (const char wants : {0, 5, 11}) {
    NavDrive drive(protocol, static_cast<std::uint64_t>(wants), kStart);
    std::string bytes(1, wants);
    for (int i = 0; i < 240; ++i) {
      const auto packet = drive.next();
      bytes.append(packet.begin(), packet.end());
    }
    folder.add(bytes);
  }
}

void writeDefinitions(const SeedFolder& folder) {
  std::string seed = VehicleDrive::definition().document().dump();
  seed += '\0';
  VehicleDrive drive(kStart);
  for (int i = 0; i < 40; ++i) {
    const auto packet = drive.next();
    seed += static_cast<char>(packet.size());
    seed.append(packet.begin(), packet.end());
    if (i % 15 == 0) seed += '\0';
  }
  folder.add(seed);
  folder.add(R"({"V":1,"M":[{"ID":3,"BS":[1,2]},{"ID":4,"IP":3}],"S":[{"ID":1,"IP":2,"MT":"R32","BS":24},)"
             R"({"ID":2,"IP":1,"DN":"Nano","BT":"S","BO":7,"BS":64,"MS":-3,"MO":5,"ML":-1.5,"MH":1e9}]})");
}

void writeTexts(const SeedFolder& folder) {
  for (const char* text :
       {"+1:02:03.5", "1h2m3.5s", "2024-12-08T00:03:27.5+02:00", "1417651425000000001", "-3m", "12.5e-3",
        "0:GnssInt1_Lat*", "*:Lat [°]", "Lat,Lon", "SatUsed[3]", "1:[A-L]?[!x]*", "nano", "2:"}) {
    folder.add(text);
  }
}

/// Whole files, with what the target takes ahead of a byte that says the file's kind.
void writeFiles(const SeedFolder& folder, const std::string& ahead = {}) {
  for (const DamagePlan& plan : kDamages) folder.add(ahead + '\0' + makeRecording(plan));
  for (const auto& [kind, sync, size] : {std::tuple{'\1', '\xE7', 72}, {'\2', '\xE8', 84}, {'\3', 'W', 80}}) {
    std::string bytes = ahead + kind;
    for (int i = 0; i < 20; ++i) {
      std::string packet(static_cast<std::size_t>(size), static_cast<char>(i));
      packet[0] = sync;
      if (sync == 'W') packet.replace(1, 3, {static_cast<char>(i % 4), static_cast<char>(size - 4), '\0'});
      packet.back() = 0;
      for (std::size_t at = 1; at + 1 < packet.size(); ++at)
        packet.back() = static_cast<char>(packet.back() + packet[at]);
      bytes += packet;
    }
    folder.add(bytes);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: write_seeds DIRECTORY\n";
    return 1;
  }
  const std::filesystem::path root(argv[1]);
  writeRecordings(SeedFolder(root / "FuzzPages"));
  writeTaggedPackets(SeedFolder(root / "FuzzTaggedPacket"));
  writeCanDatabases(SeedFolder(root / "FuzzCanDatabase"));
  writeCanPackets(SeedFolder(root / "FuzzCanPackets"));
  writeRangePackets(SeedFolder(root / "FuzzYeld"));
  writeNavPackets(SeedFolder(root / "FuzzQuon"), Kvex::Nav::kQuonProtocol);
  writeNavPackets(SeedFolder(root / "FuzzDask"), Kvex::Nav::kDaskProtocol);
  writeDefinitions(SeedFolder(root / "FuzzDefinition"));
  writeTexts(SeedFolder(root / "FuzzTexts"));
  for (const char* target : {"FuzzFile", "FuzzFront", "FuzzPageReader"}) writeFiles(SeedFolder(root / target));
  writeFiles(SeedFolder(root / "FuzzWriting"), "\x40\x60");
}
