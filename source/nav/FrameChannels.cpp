#include <cmath>
#include <limits>
#include <optional>

#include "library/Angles.h"
#include "library/Enumerations.h"
#include "nav/ChannelHandlers.h"
#include "nav/Derived.h"

namespace Kvex::Nav {

using Lib::ByteView;
using Lib::halfTurn;
using Lib::kDegreesPerRadian;
using Lib::kRadiansPerDegree;

namespace {

constexpr double kFrameAngle = 1.74532925199433e-9 * kDegreesPerRadian;  // 1e-7 degrees
constexpr double kFrameAltitude = 0.001;                                 // m

/// Takes one half of the frame, and sets the frame when it is complete.
void takeFrameHalf(NavState& state, ByteView bytes, std::optional<double>& first, double firstScale,
                   std::optional<double>& second, double secondScale) {
  const auto read = [&](std::size_t offset, double scale) -> std::optional<double> {
    const std::int32_t raw = bytes.s32(offset);
    if (!state.wants.RefLat || raw == std::numeric_limits<std::int32_t>::min()) return std::nullopt;
    return raw * scale;
  };
  first = read(0, firstScale);
  second = read(4, secondScale);
  const auto& frame = state.channels.frame;
  if (frame.complete()) setReferenceFrame(state, *frame.lat, *frame.lon, *frame.alt, *frame.heading);
}

/// A filter parameter; none where it is negative or no number.
std::optional<double> parameterAt(ByteView bytes, std::size_t offset) {
  const float value = bytes.f32(offset);
  return value >= 0.0F ? std::optional<double>(value) : std::nullopt;
}

}  // namespace

void readFramePosition(NavState& state, ByteView bytes) {
  auto& frame = state.channels.frame;
  takeFrameHalf(state, bytes, frame.lat, kFrameAngle, frame.lon, kFrameAngle);
}

void readFrameHeading(NavState& state, ByteView bytes) {
  auto& frame = state.channels.frame;
  takeFrameHalf(state, bytes, frame.alt, kFrameAltitude, frame.heading, kFrameAngle);
}

void readFrameOffset(NavState& state, ByteView bytes) {
  constexpr std::uint64_t kNoFrame = 0x00000080'00000080;
  constexpr std::int32_t kLowest = -8388608;
  constexpr std::int32_t kHighest = 8388607;
  constexpr double kOffsetScale = 0.0012;                       // m
  constexpr double kHeadingScale = 0.0001 * kDegreesPerRadian;  // 1e-4 rad, in degrees
  constexpr double kConverged = 1e-6;                           // rad
  constexpr int kMaxIterations = 20;                            // Two do; no more come of an altitude below the ground.

  const NavRecord& record = state.record;
  if (!state.wants.RefLat || state.channels.frame.complete()) return;
  if (bytes.u16(6) == 0x8000 || bytes.u64(0) == kNoFrame) return;
  if (!record.Lat.usable() || !record.Lon.usable() || !record.Alt.usable()) return;
  const std::int32_t rawX = bytes.s24(0);
  const std::int32_t rawY = bytes.s24(3);
  for (const std::int32_t raw : {rawX, rawY}) {
    if (raw == kLowest || raw == kHighest) return;
  }

  const double x = rawX * kOffsetScale;
  const double y = rawY * kOffsetScale;
  const double heading = halfTurn(bytes.s16(6) * kHeadingScale);
  const double c = std::cos(heading * kRadiansPerDegree);
  const double s = std::sin(heading * kRadiansPerDegree);
  const double east = s * x - c * y;
  const double north = c * x + s * y;

  // The radii belong to the latitude that is looked for.
  const double alt = record.Alt.value;
  const double here = record.Lat.value * kRadiansPerDegree;
  double lat = here;
  EarthRadii radii{};
  double step = 0.0;
  int iterations = 0;
  do {
    radii = earthRadii(std::sin(lat));
    const double next = here - north / (radii.meridian + alt);
    step = std::fabs(next - lat);
    lat = next;
  } while (step > kConverged && ++iterations < kMaxIterations);

  const double lonOffset = east / (std::cos(lat) * (radii.normal + alt));
  setReferenceFrame(state, lat * kDegreesPerRadian, record.Lon.value - lonOffset * kDegreesPerRadian, alt, heading);
}

void readAngAccFilter(NavState& state, ByteView bytes) {
  configureAngAccFilter(state, parameterAt(bytes, 0), parameterAt(bytes, 4));
}

void readLinAccFilter(NavState& state, ByteView bytes) {
  configureLinAccFilter(state, parameterAt(bytes, 0), parameterAt(bytes, 4));
}

void readLinJerkFilter(NavState& state, ByteView bytes) {
  constexpr std::uint8_t kNone = 15;
  const std::uint8_t rawType = bytes.u8(0) & 0x0F;
  const std::uint8_t rawOrder = bytes.u8(0) >> 4;
  const bool reported = bytes.u8(0) != 0;
  std::optional<std::uint8_t> type;
  std::optional<std::int32_t> order;
  if (reported && rawType != kNone) type = static_cast<std::uint8_t>(Lib::kLinJerkFiltTypeNames.clamped(rawType));
  if (reported && rawOrder != kNone) order = rawOrder;
  configureLinJerkFilter(state, type, order, parameterAt(bytes, 1), bytes.u24(5) * 0.001);
}

}  // namespace Kvex::Nav
