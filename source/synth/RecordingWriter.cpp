#include "synth/RecordingWriter.h"

#include <utility>

namespace Kvex::Synth {

LogicalWriter& RecordingWriter::addStream(StreamForm form) {
  return streams_.emplace_back(sink_, std::move(form));
}

void RecordingWriter::end() {
  for (LogicalWriter& stream : streams_) stream.end();
}

}  // namespace Kvex::Synth
