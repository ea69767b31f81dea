#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "library/ByteView.h"
#include "library/NavField.h"
#include "zint/ComData.h"
#include "zint/Definitions.h"

namespace Kvex::Zint {

/// Decodes the messages of a self-describing stream.
///
/// A packet is a 16-bit message id and the payload. The time is an ordinary signal, "Nano" of type int64; a value takes
/// the newest time as its stamp. Only the time is extracted when a packet comes. Of each message the newest packet is
/// kept, with the time that stood when it came, and its signals are extracted when somebody asks for `data`: the
/// values, flags and stamps are those of extracting every packet at once.
class ComDecoder {
 public:
  /// Where the decoder stands in its search for a first time.
  enum class State : std::uint8_t {
    Probing = 0,  ///< Packets are looked at for a time only.
    Untimed = 1,  ///< No time was found while probing.
    Timed = 2,    ///< `firstTime` holds.
  };

  /// Takes in a definition document; one that defines nothing leaves the decoder with no signals.
  void setDefinitions(const nlohmann::json& document);
  /// From now on nobody asks for values of signals that `isWanted` is not true of.
  void keepSignals(const std::function<bool(const Signal&)>& isWanted);
  /// Feeds a packet while only the time is wanted.
  void probe(ByteView packet);
  /// Feeds a packet. One of fewer than 3 bytes or of an unknown id is ignored.
  void decode(ByteView packet);
  /// Back to the state of a new walk: no values, and the time at the first time if that is known.
  void reset();

  /// Where a signal comes from.
  struct Carrier {
    /// Number of the one list of signals that has it; `kNoList` where several have it.
    std::int32_t list = kNoList;
    const std::string* name = nullptr;  ///< Of the first message that carries it, or "Message 7" if that has none.
  };
  static constexpr std::int32_t kNoList = -1;
  static constexpr std::int32_t kIgnored = -2;  ///< A packet that was ignored.

  /// By place among the signals that messages carry.
  const std::vector<Carrier>& carriers() const { return carriers_; }
  /// Number of the list of signals that the last packet carried; `kIgnored` for one of no message.
  std::int32_t lastList() const { return lastList_; }

  State state() const { return state_; }
  const Definitions& definitions() const { return definitions_; }
  /// The newest value of every signal.
  ComData& data();
  /// The newest time, without bringing anything else up to date.
  const Lib::NavField<Lib::Nano>& time() const { return data_.time(); }

 private:
  /// How one list of signals is decoded: in rising id, so that a signal ahead of the time signal takes the time of the
  /// packet before.
  struct Plan {
    std::vector<const Signal*> beforeTime;
    std::vector<const Signal*> afterTime;
    bool hasTime = false;
    std::size_t payloadReach = 0;  ///< Payload bytes that the signals read.
    std::int32_t number = 0;       ///< In the order of the first messages.
    std::string name;              ///< Of the first message.

    // The newest packet.
    std::vector<std::uint8_t> payload;  ///< Grows to the largest payload that came.
    std::size_t payloadSize = 0;
    TimeMark before;
    TimeMark after;
    std::uint64_t arrival = 0;
    bool waiting = false;  ///< Not extracted yet.
  };

  static constexpr std::size_t kIdSize = 2;

  void buildPlans();
  void noteCarriers(const Message& message, const Plan& plan);
  Plan* planOf(ByteView packet);
  TimeMark mark() const;
  void takeTime(ByteView payload);
  void extractWaiting();

  State state_ = State::Probing;
  Lib::Nano firstTime_ = Lib::kNoTime;
  Definitions definitions_;
  const Signal* timeSignal_ = nullptr;
  ComData data_;
  std::vector<std::unique_ptr<Plan>> plans_;
  std::vector<Plan*> planById_;  ///< By message id; null where no message has it.
  std::vector<Plan*> waiting_;   ///< Those that hold a packet not extracted yet.
  std::uint64_t arrivals_ = 0;
  std::vector<Carrier> carriers_;
  std::int32_t lastList_ = kIgnored;
};

}  // namespace Kvex::Zint
