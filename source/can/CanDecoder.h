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
///
/// If frames are to select, a multiplexed signal is read only from frames whose multiplexer selects it, and keeps its
/// value over the others. Then each frame of a message with such signals is read before the next one takes its place.
class CanDecoder {
 public:
  CanDecoder() = default;
  explicit CanDecoder(CanDatabase database);

  const CanDatabase& database() const { return database_; }

  /// A field for each signal of the database, never written.
  std::vector<CanField> emptyFields() const;

  /// Whether multiplexed signals are read only from frames that select them; at first they are not.
  void setSelective(bool selective);

  // In all of these `fields` is as `emptyFields` made it.

  /// Takes the frames of a packet in.
  void decode(Lib::ByteView packet, Nano time, std::vector<CanField>& fields);
  /// Takes one frame in. Gives its message; null for an id that the database does not have.
  const CanMessage* decodeFrame(std::uint32_t id, Lib::ByteView data, Nano time, std::vector<CanField>& fields);
  /// Appends a number for what a frame brings: its message, and for each of its multiplexers what that selects.
  void addKinds(std::uint32_t id, Lib::ByteView data, std::vector<std::uint64_t>& kinds) const;
  /// Reads the signals of all frames that came since the last call.
  void extract(std::vector<CanField>& fields);

  /// Forgets frames that came and were not extracted.
  void reset();

 private:
  struct NewestFrame {
    CanFrameData data;
    Nano time = 0;
    bool pending = false;    ///< Came after the last extraction.
    bool selective = false;  ///< Not all of its signals may be read.
  };

  void extractFrame(std::uint32_t messageIndex, std::vector<CanField>& fields);
  bool selects(const NewestFrame& frame, const CanSignal& signal) const;

  CanDatabase database_;
  std::vector<CanExtraction> extractions_;    ///< In signal order.
  std::vector<NewestFrame> newest_;           ///< In message order.
  std::vector<std::uint32_t> pendingFrames_;  ///< Messages with a pending frame.
};

}  // namespace Kvex::Can
