// A CAN stream through its public operations: times, frames, rows.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "can/StreamCan.h"
#include "synth/CanBus.h"
#include "synth/CanPacket.h"

namespace Kvex::Sto {

namespace {

using Synth::CanPacket;
using Bytes = std::vector<std::uint8_t>;

constexpr Nano kAbsolute = 1'400'000'000'500'000'000;
constexpr std::uint8_t kMissing = Lib::Flag::kNotAvailable;

const std::string kDatabase =
    "BO_ 1 Short: 3 X\n SG_ Third : 16|8@1+ (1,0) [0|1] \"\" X\n SG_ Fourth : 24|8@1+ (1,0) [0|1] \"\" X\n"
    "BO_ 2 Long: 12 X\n SG_ Ninth : 64|16@1- (0.01,0) [-1|1] \"V\" X\n"
    "BO_ 3 Never: 8 X\n SG_ Absent : 0|8@1+ (1,0) [0|1] \"\" X\n";

Bytes packet(Nano time, const Bytes& data = {}, std::uint32_t id = 1) {
  CanPacket result(time);
  if (!data.empty()) result.addFrame(id, data);
  return {result.bytes().begin(), result.bytes().end()};
}

/// A stream that has been through both passes.
struct Scanned {
  explicit Scanned(const std::vector<Bytes>& packets, const std::string& database = kDatabase) {
    Com::TaggedHeader header;
    if (!database.empty()) header.addHeader(Com::TaggedPacket("(Kvex-Can-Dbc)" + database));
    stream.takeHeader(std::move(header), {});
    EXPECT_EQ(stream.headerAccepted(), !database.empty());
    for (const Bytes& bytes : packets) {
      if (stream.take(std::span(bytes), Pass::Probe)) break;
    }
    stream.endProbe();
    for (const Bytes& bytes : packets) stream.take(std::span(bytes), Pass::Scan);
    stream.endScan();
  }

  std::int64_t first(std::string_view signal) const { return stream.firstValue(signal).asInteger(); }
  std::int64_t last(std::string_view signal) const { return stream.lastValue(signal).asInteger(); }
  double lastNumber(std::string_view signal) const { return stream.lastValue(signal).as<double>(); }
  std::uint8_t lastFlags(std::string_view signal) const { return stream.lastValue(signal).flags; }

  StreamCan stream{{StreamCodec::Can, ResourceKind::Recording, 7}};
};

TEST(StreamCanTest, JoinsRelativeAndAbsoluteTimes) {
  const Bytes frame(8);
  const std::vector<Bytes> packets = {packet(100, frame), packet(200, frame), packet(kAbsolute, frame),
                                      packet(kAbsolute + 100, frame)};
  const Scanned joined(packets);
  ASSERT_TRUE(joined.stream.hasTime());
  EXPECT_EQ(joined.stream.startSample().asInteger(), kAbsolute - 200);
  EXPECT_EQ(joined.stream.endSample().asInteger(), kAbsolute + 100);
  EXPECT_EQ(joined.first("NanoFromStart"), 0);
  EXPECT_EQ(joined.last("NanoFromStart"), 300);
  EXPECT_EQ(joined.last("NanoFromFirst"), 100);
  EXPECT_EQ(joined.last("NanoFromOrigin"), 500'000'100);
  const Scanned endsRelative({packets[0], packets[1], packets[2], packets[3], packets[1]});
  EXPECT_EQ(endsRelative.last("Nano"), kAbsolute - 100);

  const Scanned absolute({packet(kAbsolute, frame), packet(kAbsolute, frame), packet(kAbsolute + 50, frame)});
  EXPECT_EQ(absolute.first("NanoFromOrigin"), 500'000'000);
  EXPECT_EQ(absolute.first("NanoFromFirst"), 0);
  EXPECT_EQ(absolute.last("NanoFromStart"), 50);
}

TEST(StreamCanTest, TellsTimesWithoutAJoint) {
  const Bytes frame(8);
  const Scanned relative({packet(100, frame), packet(604'800'000'000'001, frame)});
  EXPECT_TRUE(relative.stream.hasTime());
  EXPECT_EQ(relative.last("Nano"), 604'800'000'000'001);
  EXPECT_EQ(relative.lastFlags("NanoFromStart"), kMissing);
  EXPECT_EQ(relative.last("TimeWeekCount"), 1);
  EXPECT_EQ(relative.lastNumber("TimeWeekSecond"), 1e-9);

  const Scanned negative({packet(-5, frame)});
  EXPECT_EQ(negative.last("Nano"), -5);
  EXPECT_EQ(negative.lastFlags("TimeWeekCount"), kMissing);
  EXPECT_EQ(negative.lastFlags("TimeWeekSecond"), kMissing);

  // Times at the ends of the range must not overflow.
  const Scanned extreme({packet(INT64_MIN + 1, frame), packet(INT64_MAX - 1, frame), packet(INT64_MAX, frame)});
  EXPECT_EQ(extreme.last("NanoFromFirst"), 1);

  EXPECT_FALSE(Scanned({packet(kAbsolute, frame), packet(kAbsolute + 1, frame)}, "").stream.hasTime());
  EXPECT_FALSE(Scanned({Bytes(7), packet(Lib::kNoTime, frame), packet(kAbsolute, Bytes(12))}).stream.hasTime());
}

TEST(StreamCanTest, TakesFramesApart) {
  const Bytes data = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0xFF, 0, 0};
  CanPacket full(kAbsolute);
  full.addFrame(99, {});
  full.addCodedFrame(1, 3, Bytes{10, 11, 12});
  full.addCodedFrame(2, 9, data);
  full.addCodedFrame(1, 3, data);
  const Bytes bytes(full.bytes().begin(), full.bytes().end());
  ASSERT_EQ(bytes.size(), 8U + 16 + 16 + 20 + 16);
  const std::vector<Bytes> timed = {packet(kAbsolute, Bytes(8, 1), 99), packet(kAbsolute + 1, Bytes(8, 1), 99)};

  // How much of the packet is there, and what it then gives: a frame without its eight leading bytes ends it, cut
  // data reads as zeros.
  struct Case {
    std::size_t size;
    std::int64_t third;
    double ninth;
  };
  for (const Case& expected :
       {Case{76, 3, -2.47}, Case{67, 12, -2.47}, Case{68, 0, -2.47}, Case{57, 12, 0.09}, Case{40, 12, 0}}) {
    SCOPED_TRACE(expected.size);
    // A copy of its own, so that a read beyond the packet is seen by the sanitizer.
    Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(expected.size));
    cut.shrink_to_fit();
    const Scanned scanned({timed[0], timed[1], cut});
    EXPECT_EQ(scanned.last("Third"), expected.third);
    EXPECT_EQ(scanned.last("Fourth"), 0);  // beyond the frame's length
    EXPECT_DOUBLE_EQ(scanned.lastNumber("Ninth"), expected.ninth);
    EXPECT_EQ(scanned.lastFlags("Absent"), Lib::Flag::kReset);
    EXPECT_EQ(scanned.stream.firstValue("Third").flags, Lib::Flag::kReset);
  }
}

TEST(StreamCanTest, ListsTheDatabase) {
  const Scanned scanned({},
                        "BO_ 1 M: 8 X\n"
                        "SG_ Gr\xF6\xDF"
                        "e : 0|8@1+ (-0.25,1) [-2|2.5] \"\xB0\" X\n"
                        "SG_ T\xC3\xBCr : 0|8@1+ (1,0) [0|1] \"\xC2\xB0\" X\n"
                        "SG_ T\xC3\xBCr : 8|8@1+ (1,0) [0|1] \"twin\" X\n"
                        "SG_ Cut : 0|8@1+ (1,0) [0|1] \"\xE2\x82\" X\n"
                        "CM_ SG_ 1 T\xC3\xBCr \"\xED\xA0\x80\";\n");
  std::vector<SignalListing> listings;
  EXPECT_EQ(scanned.stream.listSignals(listings, 1), 6U);
  EXPECT_EQ(listings[1].name, "Nano");
  EXPECT_EQ(listings[1].ordinal, 0);
  listings.clear();
  ASSERT_EQ(scanned.stream.listSignals(listings, 2), 3U);
  const SignalListing& size = listings[0];
  EXPECT_EQ(size.name,
            "Gr\xC3\xB6\xC3\x9F"
            "e");
  EXPECT_EQ(size.unit, "\xC2\xB0");
  EXPECT_EQ(size.ordinal, 6);
  EXPECT_EQ(size.resolution, 0.25);
  EXPECT_EQ(size.decimals, 1);
  EXPECT_EQ(size.rangeHigh, 2.5);
  EXPECT_NE(size.valueText, nullptr);
  EXPECT_EQ(listings[2].name, "T\xC3\xBCr");
  EXPECT_EQ(listings[2].unit, "\xC2\xB0");
  for (const SignalListing& listing : listings) {
    EXPECT_NO_THROW(nlohmann::json({listing.name, listing.unit, listing.description}).dump());
  }

  std::string many = "BO_ 1 M: 8 X\n";
  for (int index = 0; index < 1100; ++index) many += "SG_ S" + std::to_string(index) + " : 0|8@1+ (1,0) [0|1] \"\" X\n";
  listings.clear();
  EXPECT_EQ(Scanned({}, many).stream.listSignals(listings, ~0U), 1000U);
}

TEST(StreamCanTest, ReadsTheVehicleBus) {
  Synth::CanBus bus(kAbsolute);
  std::vector<Bytes> packets;
  while (bus.time() < kAbsolute + 3 * Lib::kNanosPerSecond) {
    const auto bytes = bus.next();
    packets.emplace_back(bytes.begin(), bytes.end());
  }
  const Scanned scanned(packets, Synth::CanBus::database());
  ASSERT_TRUE(scanned.stream.hasTime());
  EXPECT_EQ(scanned.stream.startSample().asInteger(), kAbsolute);
  EXPECT_EQ(scanned.stream.endSample().asInteger(), bus.time());
  std::vector<SignalListing> listings;
  scanned.stream.listSignals(listings, 2);
  std::size_t signalCount = 0;
  for (const Synth::BusMessage& message : Synth::busMessages()) signalCount += message.signals.size();
  EXPECT_EQ(listings.size(), signalCount);
  for (const SignalListing& listing : listings)
    EXPECT_TRUE(scanned.stream.lastValue(listing.name).usable()) << listing.name;

  // Signals of both byte orders, of classic and long frames show the same vehicle.
  const auto number = [&](std::string_view signal) { return scanned.lastNumber(signal); };
  const double speed = number("VehicleSpeed");
  EXPECT_GT(speed, 5);
  EXPECT_NEAR((number("WheelSpeed_FL") + number("WheelSpeed_FR")) / 7.2, speed, 0.1);
  EXPECT_NEAR(number("GnssSpeed"), speed, 0.2);
  EXPECT_NEAR(number("GnssLatitude"), 51.5, 0.01);
  EXPECT_NEAR(number("CellVoltage_8"), 13.8, 0.1);
  EXPECT_EQ(scanned.last("Stamp"), 3);
  EXPECT_EQ(scanned.last("Odometer"), 123'456'000 + scanned.last("TripDistance"));
}

}  // namespace

}  // namespace Kvex::Sto
