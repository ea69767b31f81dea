#pragma once

#include <cstdint>
#include <vector>

#include "can/CanDatabase.h"
#include "can/CanExtraction.h"
#include "can/CanFrame.h"
#include "can/CanRecord.h"

namespace Kvex::Can {

/// Decodes frames through a database. Of each message the newest frame is kept; its signals are read out of it when
/// somebody wants to see them, since nobody sees what a later frame has replaced.
class CanDecoder {
 public:
  CanDecoder() = default;
  explicit CanDecoder(CanDatabase database);

  const CanDatabase& database() const { return database_; }

  /// A field for each signal of the database, never written.
  std::vector<CanField> emptyFields() const;

  /// Takes the frames of a packet in.
  void decode(Lib::ByteView packet, Nano time);
  /// Takes one frame in. Gives its message; null for an id that the database does not have.
  const CanMessage* decodeFrame(std::uint32_t id, Lib::ByteView data, Nano time);

  /// Reads the signals of all frames that came since the last call. `fields` is as `emptyFields` made it.
  void extract(std::vector<CanField>& fields);

  /// Forgets frames that came and were not extracted.
  void reset();

 private:
  struct NewestFrame {
    CanFrameData data;
    Nano time = 0;
    bool pending = false;  ///< Came after the last extraction.
  };

  CanDatabase database_;
  std::vector<CanExtraction> extractions_;    ///< In signal order.
  std::vector<NewestFrame> newest_;           ///< In message order.
  std::vector<std::uint32_t> pendingFrames_;  ///< Messages with a pending frame.
};

}  // namespace Kvex::Can
