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
  buildPlans();
  data_.reset();
  state_ = State::Probing;
  firstTime_ = Lib::kNoTime;
}

void ComDecoder::buildPlans() {
  plans_.clear();
  planById_.clear();
  carriers_.assign(definitions_.carriedSignals.size(), {});
  std::map<const std::vector<Signal*>*, Plan*> planOf;  // messages that share a list share its plan
  for (const Message& message : definitions_.messages) {
    if (message.id > UINT16_MAX) break;  // no packet can carry such an id
    Plan*& plan = planOf[message.signals.get()];
    if (plan == nullptr) {
      auto built = std::make_unique<Plan>();
      built->number = static_cast<std::int32_t>(plans_.size());
      built->name = message.name->empty() ? "Message " + std::to_string(message.id) : *message.name;
      noteCarriers(message, *built);
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
    planById_.resize(message.id + 1, nullptr);
    planById_.back() = plan;
  }
  waiting_.clear();
  waiting_.reserve(plans_.size());
}

void ComDecoder::noteCarriers(const Message& message, const Plan& plan) {
  for (const Signal* signal : *message.signals) {
    Carrier& carrier = carriers_[signal->listIndex];
    const bool first = carrier.name == nullptr;
    carrier.list = first ? plan.number : kNoList;
    if (first) carrier.name = &plan.name;
  }
}

void ComDecoder::keepSignals(const std::function<bool(const Signal&)>& isWanted) {
  const auto unwanted = [&](const Signal* signal) { return !isWanted(*signal); };
  for (const auto& plan : plans_) {
    std::erase_if(plan->beforeTime, unwanted);
    std::erase_if(plan->afterTime, unwanted);
  }
}

ComDecoder::Plan* ComDecoder::planOf(ByteView packet) {
  if (packet.size() < kMinPacket) return nullptr;
  const std::uint16_t id = packet.u16(0);
  return id < planById_.size() ? planById_[id] : nullptr;
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
  const Plan* plan = planOf(packet);
  if (plan == nullptr || !plan->hasTime) return;
  takeTime(packet.from(kIdSize));
  if (!time().usable()) return;
  state_ = State::Timed;
  firstTime_ = time().value;
}

void ComDecoder::decode(ByteView packet) {
  Plan* plan = planOf(packet);
  lastList_ = kIgnored;
  if (plan == nullptr) return;
  lastList_ = plan->number;
  const ByteView payload = packet.from(kIdSize, plan->payloadReach);
  plan->before = mark();
  if (plan->hasTime) takeTime(payload);
  plan->after = mark();
  if (plan->payload.size() < payload.size()) plan->payload.resize(payload.size());
  std::copy(payload.data(), payload.data() + payload.size(), plan->payload.data());
  plan->payloadSize = payload.size();
  plan->arrival = ++arrivals_;
  if (!plan->waiting) {
    plan->waiting = true;
    waiting_.push_back(plan);
  }
}

void ComDecoder::extractWaiting() {
  // A signal can stand in several lists: the packet that came last must be extracted last.
  std::sort(waiting_.begin(), waiting_.end(), [](const Plan* a, const Plan* b) { return a->arrival < b->arrival; });
  for (Plan* plan : waiting_) {
    const ByteView payload(plan->payload.data(), plan->payloadSize);
    for (const Signal* signal : plan->beforeTime) signal->capture(data_, plan->before, payload);
    for (const Signal* signal : plan->afterTime) signal->capture(data_, plan->after, payload);
    plan->waiting = false;
  }
  waiting_.clear();
}

ComData& ComDecoder::data() {
  extractWaiting();
  return data_;
}

void ComDecoder::reset() {
  if (state_ == State::Probing) state_ = State::Untimed;
  for (Plan* plan : waiting_) plan->waiting = false;
  waiting_.clear();
  data_.reset();
  if (state_ == State::Timed) data_.time() = {.stamp = firstTime_, .flags = 0, .stamp2 = 0, .value = firstTime_};
}

}  // namespace Kvex::Zint
