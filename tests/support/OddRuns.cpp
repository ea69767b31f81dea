#include "support/OddRuns.h"

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <sstream>

#include "nav/NavProtocol.h"
#include "synth/NavPackets.h"
#include "synth/RecordingWriter.h"
#include "synth/ZintMessages.h"

namespace Kvex {

namespace {

using namespace Synth;

constexpr Nano kStart = 1'417'651'425'000'000'000;
constexpr Nano kPeriod = 10'000'000;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kDegreesPerMetre = 1 / 111'319.49;

struct Position {
  double latitude = 51.5;
  double longitude = -0.7;
  double speed = 10;
};

/// What a recording of one stream says about itself.
struct Names {
  std::string group = "Grouping=Run 1\n";
  std::string speed = "VehicleSpeed";
  std::string unit = "m/s";
  std::string comment = "Speed over ground.";
};

ZintDefinition definitionOf(const Names& names) {
  const auto signal = [](std::uint64_t id, std::string name, std::string unit, const char* base, std::uint32_t offset,
                         const char* mapped) {
    return ZintSignal{.id = id,
                      .name = std::move(name),
                      .unit = std::move(unit),
                      .bitOffset = offset,
                      .bitSize = 64,
                      .base = base,
                      .mapped = mapped};
  };
  ZintDefinition definition;
  definition.signals = {signal(10, "Nano", "ns", "S", 0, "S64"), signal(11, "Latitude", "°", "R", 64, "R64"),
                        signal(12, "Longitude", "°", "R", 128, "R64"),
                        signal(13, names.speed, names.unit, "R", 192, "R64")};
  definition.signals.back().comment = names.comment;
  definition.messages = {{.id = 1, .name = "Position", .signals = {10, 11, 12, 13}}};
  return definition;
}

/// A recording of `count` periods; a period without a position has no packet.
std::string recordingOf(const Names& names, int count, const std::function<bool(int period, Position&)>& at) {
  const ZintDefinition definition = definitionOf(names);
  std::ostringstream out;
  RecordingWriter writer(out);
  LogicalWriter& stream = writer.addStream({.serial = 1,
                                            .primary = primaryText("[Kvex-Zint]", 2),
                                            .headers = {definition.headerPacket(), "{Kvex-Grouping}" + names.group}});
  stream.writeHeader();
  ZintPacket packet(definition, 1);
  for (int period = 0; period < count; ++period) {
    Position position;
    if (!at(period, position)) continue;
    packet.set(definition.signals[0], kStart + period * kPeriod);
    packet.set(definition.signals[1], position.latitude);
    packet.set(definition.signals[2], position.longitude);
    packet.set(definition.signals[3], position.speed);
    stream.add(packet.bytes());
  }
  writer.end();
  return out.str();
}

std::string spike() {
  return recordingOf({}, 120'000, [](int period, Position& position) {
    position.latitude += period * 0.1 * kDegreesPerMetre;
    if (period == 60'000) position.speed = 99;
    return period < 90'000 || period >= 91'000;
  });
}

std::string antimeridian() {
  return recordingOf({}, 1000, [](int period, Position& position) {
    const double longitude = 179.999 + period * 2e-6;
    position = {.latitude = 0, .longitude = longitude < 180 ? longitude : longitude - 360};
    return true;
  });
}

std::string pole() {
  return recordingOf({}, 1000, [](int period, Position& position) {
    position = {.latitude = 90 - 100 * kDegreesPerMetre, .longitude = period * 0.36 - 180};
    return true;
  });
}

std::string noFix() {
  std::string bytes;
  NavPacket packet(Nav::kQuonProtocol);
  for (int period = 0; period < 1000; ++period) {
    const Nano time = kStart + period * kPeriod;
    // It locks on, so that it has the time, but finds no position.
    packet.time(time).mode(3).position(kNaN, kNaN, 0).acceleration({0, 0, -9.81}).channel(0, minuteChannel(time));
    const auto made = packet.bytes();
    bytes.append(made.begin(), made.end());
  }
  return bytes;
}

std::string hostile() {
  const std::string markup =
      "</script><script>document.title='owned'</script><img src=x onerror=\"document.title='owned'\">";
  const Names names{.group = "Grouping=" + markup + "\n" + markup + "=<b>" + markup + "\n",
                    .speed = "VehicleSpeed" + markup,
                    .unit = "<i onmouseover=alert(1)>m</i>",
                    .comment = markup + " --> <!-- {{data}} {{title}}"};
  return recordingOf(names, 500, [](int period, Position& position) {
    position.latitude += period * kDegreesPerMetre;
    return true;
  });
}

}  // namespace

std::vector<OddRun> oddRuns() {
  return {{"spike.vrel", spike()},
          {"antimeridian.vrel", antimeridian()},
          {"pole.vrel", pole()},
          {"nofix.quon", noFix()},
          {"hostile.vrel", hostile()}};
}

}  // namespace Kvex
