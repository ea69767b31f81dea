#pragma once

#include <deque>
#include <ostream>
#include <string_view>

#include "recording/LogicalWriter.h"
#include "recording/OggPage.h"
#include "synth/DamagedPages.h"

namespace Kvex::Synth {

using Com::bytesOf;
using Com::LogicalWriter;
using Com::primaryText;
using Com::StreamForm;

/// Writes a recording of any number of logical streams to a stream of bytes, into a file or into memory. Holds no more
/// than the page that each stream has begun.
///
///     std::ofstream file("run.vrel", std::ios::binary);
///     RecordingWriter recording(file);
///     LogicalWriter& stream = recording.addStream({.serial = 7, .primary = primaryText("[Kvex-Quon]", 0)});
///     stream.writeHeader();
///     stream.addLed(packet);
///     stream.end();
class RecordingWriter {
 public:
  explicit RecordingWriter(std::ostream& out) : sink_(out) {}

  /// A further logical stream. Nothing is written yet; the reference is good for as long as the recording.
  LogicalWriter& addStream(StreamForm form);

  /// Flushes every stream and writes its EOS page.
  void end();

  /// Bytes between the pages.
  void writeJunk(std::string_view bytes) { sink_.writeRaw(bytes); }
  /// Damage that is done to the pages from now on.
  void setDamage(const DamagePlan& plan) { sink_.setDamage(plan); }

  std::uint64_t bytesWritten() const { return sink_.bytesWritten(); }

 private:
  DamagedPages sink_;
  std::deque<LogicalWriter> streams_;
};

}  // namespace Kvex::Synth
