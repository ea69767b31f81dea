#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "can/CanIdIndex.h"
#include "can/CanMessage.h"
#include "can/CanSignal.h"

namespace Kvex::Can {

/// The messages and signals of a CAN database in the DBC text format: nodes, messages, signals, comments and
/// multiplexers; every other keyword is ignored. A line that cannot be used is dropped without a word, and with a
/// message its signals.
class CanDatabase {
 public:
  static constexpr std::size_t kMaxMessages = 1024;
  static constexpr std::size_t kMaxSignals = 16384;

  CanDatabase() = default;
  /// Reads a database. Any bytes are taken, and the text need not outlive the call.
  explicit CanDatabase(std::string_view text);
  CanDatabase(CanDatabase&&) = default;
  CanDatabase& operator=(CanDatabase&&) = default;

  /// In the order of the text.
  std::span<const CanMessage> messages() const { return messages_; }
  std::span<const CanSignal> signals() const { return signals_; }
  std::span<const CanSignal> signalsOf(const CanMessage& message) const {
    return signals().subspan(message.firstSignal, message.signalCount);
  }

  /// The names of the bus's nodes, as the text has them.
  std::string_view nodes() const { return nodes_; }

  /// The message with this id, or none.
  const CanMessage* find(std::uint32_t id) const {
    const std::uint32_t index = indexById_.find(id);
    return index == CanIdIndex::kNone ? nullptr : &messages_[index];
  }

 private:
  void readDefinitions();
  void readComments();
  void readMultiplexers();
  bool addMessage(CanMessage message);
  void addSignal(CanSignal signal);

  // All texts of messages and signals lie in here. A moved vector keeps its bytes where they are.
  std::vector<char> text_;
  std::string_view nodes_;
  std::vector<CanMessage> messages_;
  std::vector<CanSignal> signals_;
  CanIdIndex indexById_;
};

}  // namespace Kvex::Can
