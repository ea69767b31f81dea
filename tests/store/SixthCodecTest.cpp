// A protocol that only this file knows: one Stream, one signal table, one framing and one row are all that a protocol
// takes.

#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

#include "codecs.h"
#include "library/Checksum.h"
#include "store/ResourceBare.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"

namespace Kvex::Sto {
namespace {

using Testing::TempFile;

constexpr auto kTickCodec = static_cast<StreamCodec>(9);
constexpr std::uint8_t kSync = 0x5A;
constexpr std::uint32_t kSize = 12;  // sync byte, time in 64 bits, level in 16 bits, sum

struct TickRecord {
  Lib::NavField<Nano> nano;
  Lib::NavField<std::uint16_t> level;

  const Lib::NavField<Nano>& time() const { return nano; }
};

const SignalTable& tickTable() {
  static const SignalTable table = [] {
    SignalTable rows;
    SignalRow nano;
    nano.name = "Nano";
    nano.valueType = ValueType::Int64;
    nano.accessor = accessorOf<TickRecord>([](const TickRecord& r, std::uint32_t) -> const auto& { return r.nano; });
    rows.insert(nano);
    SignalRow level;
    level.name = "Level";
    level.valueType = ValueType::UInt16;
    level.accessor = accessorOf<TickRecord>([](const TickRecord& r, std::uint32_t) -> const auto& { return r.level; });
    rows.insert(level);
    return rows;
  }();
  return table;
}

/// A level of 0xFFFF stands for none.
class StreamTick final : public RecordStream<TickRecord> {
 public:
  explicit StreamTick(const StreamIdentity& identity) : RecordStream(identity, {&tickTable()}) {}

  bool take(ByteView packet, Pass) override {
    if (packet.size() != kSize) return false;
    const Nano time = packet.s64(1);
    if (firstTime_ == Lib::kNoTime) firstTime_ = time;
    record_.nano.write(time, time);
    if (packet.u16(9) == 0xFFFF) {
      record_.level.flags |= Lib::Flag::kNotAvailable;
    } else {
      record_.level.write(packet.u16(9), time);
    }
    return true;
  }
  void reset() override {
    record_.nano.reset();
    record_.level.reset();
    if (firstTime_ != Lib::kNoTime) record_.nano = {.stamp = firstTime_, .flags = 0, .value = firstTime_};
  }
  const Lib::NavField<Nano>& newestTime() const override { return record_.nano; }

 protected:
  bool readHeader() override { return true; }
  TickRecord& live() override { return record_; }

 private:
  Nano firstTime_ = Lib::kNoTime;
  TickRecord record_;
};

struct TickFraming {
  static Frame inspect(const std::uint8_t* bytes, std::size_t available) {
    if (available == 0) return {Frame::State::Partial};
    return bytes[0] == kSync ? summedFrame(bytes, available, 1, kSize) : Frame{Frame::State::Failed};
  }
};

std::vector<Codec> codecsWithTicks() {
  const CodecList all = allCodecs();
  std::vector<Codec> codecs(all.begin(), all.end());
  codecs.push_back({kTickCodec, makeStream<StreamTick>, RangeRole::None, ".tick",
                    makeResource<ResourceBare<TickFraming, ResourceKind::NavigationFile>>});
  return codecs;
}

std::vector<std::uint8_t> tick(Nano time, std::uint16_t level) {
  std::vector<std::uint8_t> packet(kSize);
  packet[0] = kSync;
  for (int i = 0; i < 8; ++i) packet[1 + i] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(time) >> (8 * i));
  packet[9] = static_cast<std::uint8_t>(level);
  packet[10] = static_cast<std::uint8_t>(level >> 8);
  packet[11] = Lib::byteSum(packet.data() + 1, kSize - 2);
  return packet;
}

const std::vector<std::vector<std::uint8_t>> kTicks = {tick(100, 7), tick(200, 7), tick(300, 0xFFFF), tick(400, 0xFFFF),
                                                       tick(500, 9)};

std::string bareFile() {
  std::string bytes = "lead-in";
  for (const auto& packet : kTicks) bytes.append(packet.begin(), packet.end());
  return bytes;
}

std::string recording() {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream({.serial = 3, .primary = Com::primaryText(primaryTag(kTickCodec), 0)});
  stream.writeHeader();
  for (const auto& packet : kTicks) stream.add(packet);
  writer.end();
  return out.str();
}

class SixthCodecTest : public testing::TestWithParam<const char*> {
 protected:
  const std::vector<Codec> codecs_ = codecsWithTicks();
  const TempFile file_{std::string("sixth") + GetParam(),
                       std::string(GetParam()) == ".tick" ? bareFile() : recording()};
  DataStore store_{StoreConfig{}, codecs_};
};

TEST_P(SixthCodecTest, IsScannedReadOnAGridAndReadNatively) {
  std::vector<std::uint32_t> ids;
  ASSERT_EQ(store_.addFile(file_.path(), ids), StoreStatus::Success);
  ASSERT_EQ(ids.size(), 1U);
  const StreamInfo info = store_.streamInfo(0);
  EXPECT_EQ(info.codec, kTickCodec);
  EXPECT_EQ(info.startTime, 100);
  EXPECT_EQ(info.endTime, 500);

  SignalQuery query;
  EXPECT_EQ(store_.subscribe(kDirectMode, 0, "Level"), StoreStatus::Success);
  EXPECT_EQ(store_.addToQuery(query, kDirectMode, 0, "Level"), StoreStatus::Success);
  EXPECT_EQ(store_.seekAll(150), StoreStatus::Success);
  std::vector<Sample> samples;
  EXPECT_EQ(store_.readSamples(query, 150, samples), StoreStatus::Success);
  EXPECT_EQ(samples.at(0).asInteger(), 7);
  EXPECT_EQ(samples.at(0).time, 200);

  std::vector<SignalListing> signals;
  store_.visitStream(0, [&](const Stream& stream, const Resource&) { stream.listSignals(signals, ~0U); });
  const auto reader = store_.openNative(0, signals, NativeReader::Detail::FlagsAndStamp);
  ASSERT_TRUE(reader->readBlock());
  EXPECT_EQ(reader->times().size(), kTicks.size());
  const std::size_t nano = reader->firstElement(0);
  const std::size_t level = reader->firstElement(1);
  EXPECT_EQ(reader->samples(nano), 0b11111U);
  // Equal values count as they were written, one that goes away counts once.
  EXPECT_EQ(reader->samples(level), 0b10111U);
  EXPECT_EQ(reader->usableSamples(level), 0b10011U);
  EXPECT_EQ(reader->value<std::uint16_t>(level, 1), 7);
  EXPECT_EQ(reader->flags(level, 2), Lib::Flag::kNotAvailable);
  EXPECT_EQ(reader->stamp(level, 2), 200);
  EXPECT_FALSE(reader->readBlock());
}

INSTANTIATE_TEST_SUITE_P(Files, SixthCodecTest, testing::Values(".tick", ".vrel"),
                         [](const testing::TestParamInfo<const char*>& param) { return std::string(param.param + 1); });

}  // namespace
}  // namespace Kvex::Sto
