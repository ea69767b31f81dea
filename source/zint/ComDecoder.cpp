#include "zint/ComDecoder.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

namespace Kvex::Zint {

namespace {

constexpr std::string_view kTimeName = "Nano";
constexpr std::size_t kMinPacket = 3;

}  // namespace

void ComDecoder::setDefinitions(const nlohmann::json& document) {
  definitions_ = readDefinitions(document);
  timeSignal_ = nullptr;
  data_.clear();
  for (Signal* signal : definitions_.carriedSignals) {
    if (timeSignal_ == nullptr && signal->form().mappedType == ValueType::Int64 && signal->name() == kTimeName) {
      signal->slot = ComData::kTimeSlot;
      timeSignal_ = signal;
    } else {
      signal->addSlot(data_);
    }
  }
  buildInboxes();
  data_.reset();
  state_ = State::Probing;
  firstTime_ = Lib::kNoTime;
}

void ComDecoder::buildInboxes() {
  plans_.clear();
  inboxes_.clear();
  inboxById_.clear();
  carriers_.assign(definitions_.carriedSignals.size(), {});
  std::map<const std::vector<Signal*>*, const Plan*> planOf;  // messages that share a list share its plan
  for (const Message& message : definitions_.messages) {
    if (message.id > UINT16_MAX) break;  // no packet can carry such an id
    const Plan*& plan = planOf[message.signals.get()];
    if (plan == nullptr) {
      auto built = std::make_unique<Plan>();
      built->number = static_cast<std::int32_t>(plans_.size());
      noteCarriers(message, built->number);
      for (const Signal* signal : *message.signals) {
        built->payloadReach = std::max(built->payloadReach, signal->payloadReach());
        if (signal == timeSignal_) {
          built->hasTime = true;
        } else {
          (built->hasTime ? built->afterTime : built->beforeTime).push_back(signal);
        }
      }
      plan = plans_.emplace_back(std::move(built)).get();
    }
    inboxById_.resize(message.id + 1, kNoInbox);
    inboxById_.back() = static_cast<std::uint32_t>(inboxes_.size());
    inboxes_.push_back({.plan = plan});
  }
  waiting_.clear();
  waiting_.reserve(inboxes_.size());
}

void ComDecoder::noteCarriers(const Message& message, std::int32_t list) {
  for (const Signal* signal : *message.signals) {
    Carrier& carrier = carriers_[signal->listIndex];
    const bool first = carrier.name.empty();
    carrier.list = first ? list : kNoList;
    if (first) carrier.name = message.name.empty() ? "Message " + std::to_string(message.id) : message.name;
  }
}

ComDecoder::Inbox* ComDecoder::inboxOf(ByteView packet) {
  if (packet.size() < kMinPacket) return nullptr;
  const std::uint16_t id = packet.u16(0);
  if (id >= inboxById_.size() || inboxById_[id] == kNoInbox) return nullptr;
  return &inboxes_[inboxById_[id]];
}

TimeMark ComDecoder::mark() const {
  const auto& record = data_.time();
  return {record.stamp, record.flags, record.stamp2};
}

void ComDecoder::takeTime(ByteView payload) {
  timeSignal_->capture(data_, mark(), payload);
  auto& record = data_.time();
  record.stamp = record.value;
  record.flags &= static_cast<std::uint8_t>(~Lib::Flag::kUntimed);
}

void ComDecoder::probe(ByteView packet) {
  const Inbox* inbox = inboxOf(packet);
  if (inbox == nullptr || !inbox->plan->hasTime) return;
  takeTime(packet.from(kIdSize));
  if (!time().usable()) return;
  state_ = State::Timed;
  firstTime_ = time().value;
}

void ComDecoder::decode(ByteView packet) {
  Inbox* inbox = inboxOf(packet);
  lastList_ = kIgnored;
  if (inbox == nullptr) return;
  const Plan& plan = *inbox->plan;
  lastList_ = plan.number;
  const ByteView payload = packet.from(kIdSize, plan.payloadReach);
  inbox->before = mark();
  if (plan.hasTime) takeTime(payload);
  inbox->after = mark();
  if (inbox->payload.size() < payload.size()) inbox->payload.resize(payload.size());
  std::copy(payload.data(), payload.data() + payload.size(), inbox->payload.data());
  inbox->payloadSize = payload.size();
  inbox->arrival = ++arrivals_;
  if (!inbox->waiting) {
    inbox->waiting = true;
    waiting_.push_back(inbox);
  }
}

void ComDecoder::extractWaiting() {
  // A signal can belong to several messages: the packet that came last must be extracted last.
  std::sort(waiting_.begin(), waiting_.end(), [](const Inbox* a, const Inbox* b) { return a->arrival < b->arrival; });
  for (Inbox* inbox : waiting_) {
    const ByteView payload(inbox->payload.data(), inbox->payloadSize);
    for (const Signal* signal : inbox->plan->beforeTime) signal->capture(data_, inbox->before, payload);
    for (const Signal* signal : inbox->plan->afterTime) signal->capture(data_, inbox->after, payload);
    inbox->waiting = false;
  }
  waiting_.clear();
}

ComData& ComDecoder::data() {
  extractWaiting();
  return data_;
}

void ComDecoder::reset() {
  if (state_ == State::Probing) state_ = State::Untimed;
  for (Inbox* inbox : waiting_) inbox->waiting = false;
  waiting_.clear();
  data_.reset();
  if (state_ == State::Timed) data_.time() = {.stamp = firstTime_, .flags = 0, .stamp2 = 0, .value = firstTime_};
}

}  // namespace Kvex::Zint
