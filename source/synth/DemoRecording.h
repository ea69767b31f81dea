#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "library/NavField.h"
#include "synth/RecordingWriter.h"

namespace Kvex::Synth {

/// What one protocol puts into a demonstration, in the making: a logical stream, or several that belong together.
class DemoPart {
 public:
  virtual ~DemoPart() = default;
  /// The header packets. The primary packets are written already.
  virtual void writeHeaders() = 0;
  /// The data packets up to a time.
  virtual void writeUntil(Lib::Nano time) = 0;
};

/// Where a drive begins, and what its accidents depend on.
struct DemoStart {
  Lib::Nano time = 0;
  std::uint64_t seed = 1;
};

/// A protocol that a demonstration can show.
struct DemoProtocol {
  std::string_view name;
  std::string_view description;
  std::uint32_t serial;  ///< Of its logical stream, or of the first one.
  /// Opens its logical streams and writes their primary packets.
  std::unique_ptr<DemoPart> (*open)(RecordingWriter& recording, const DemoProtocol& protocol, const DemoStart& start);
};

/// All of them, in the order in which they are written.
std::span<const DemoProtocol> demoProtocols();

/// A recording of a drive as several protocols record it. The same start, seed and protocols give the same bytes.
class DemoRecording {
 public:
  /// Writes the headers.
  DemoRecording(std::ostream& out, std::span<const DemoProtocol* const> protocols, std::uint64_t seed);

  /// Writes a tenth of a second of the drive.
  void writeStep();
  static constexpr Lib::Nano kStep = Lib::kNanosPerSecond / 10;

  /// Closes the recording.
  void end() { recording_.end(); }

 private:
  RecordingWriter recording_;
  std::vector<std::unique_ptr<DemoPart>> parts_;
  Lib::Nano time_;
};

/// Gives the packets of a bare protocol file one after the other, each valid until the next call; an empty one at the
/// end of the drive.
using BarePackets = std::function<std::span<const std::uint8_t>()>;

/// The packets of a demonstration as a bare protocol file: ".quon", ".dask", or ".yeld" with the navigation units
/// inside. No function for any other extension.
BarePackets bareDemo(std::string_view extension, std::uint64_t seed, Lib::Nano length);

}  // namespace Kvex::Synth
