// What a person types: times, durations, and texts that choose signals of a file.

#include <algorithm>
#include <kvex/Error.h>
#include <kvex/File.h>
#include <kvex/TimeText.h>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/Check.h"
#include "support/StoreReading.h"
#include "synth/RangeChase.h"
#include "synth/RecordingWriter.h"
#include "synth/VehicleDrive.h"

namespace {

using namespace Kvex;

constexpr Nano kStart = 1'417'651'425'000'000'000;
constexpr Span kSpan{kStart, kStart + 60 * kNanosPerSecond};

/// Two streams of the same few signals.
std::string recording() {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Synth::VehicleDrive drive(kStart);
  for (const std::uint32_t serial : {1, 2}) {
    auto& stream = writer.addStream({.serial = serial,
                                     .primary = Com::primaryText("[Kvex-Zint]", 1),
                                     .headers = {Synth::VehicleDrive::definition().headerPacket()}});
    stream.writeHeader();
    for (int i = 0; i < 20; ++i) stream.add(drive.next());
  }
  writer.end();
  return out.str();
}

const File& typedAt() {
  static const File file(Testing::TempFile("texts.vrel", recording()).path());
  return file;
}

/// A few signals, arrays with named elements among them.
const std::vector<Signal>& offered() {
  static const std::vector<Signal> signals = [] {
    Synth::RangeChase chase(1, kStart);
    std::string bytes;
    for (int i = 0; i < 200; ++i) {
      const auto packet = chase.wrapped(chase.next());
      bytes.append(packet.begin(), packet.end());
    }
    const File file(Testing::TempFile("texts.yeld", bytes).path());
    std::vector<Signal> some;
    for (const char* pattern : {"*:Nano", "Hunter_PolygonPoints*", "Target1_RangeL*"}) {
      const std::vector<Signal> matching = file.match(pattern);
      some.insert(some.end(), matching.begin(), matching.end());
    }
    Fuzz::check(!some.empty());
    return some;
  }();
  return signals;
}

/// The time that a text means in a file; none where it means none, and then the message says so.
std::optional<Nano> timeOf(const std::string& text) try {
  return TimeText(text).in(kSpan);
} catch (const Error& error) {
  Fuzz::check(error.code() == ErrorCode::InvalidArgument && error.reason().find("is no time") != std::string::npos);
  return {};
}

void readTimes(const std::string& text) {
  const std::optional<Nano> time = timeOf(text);
  const std::optional<Nano> duration = durationFromText(text);
  Fuzz::check(!duration || *duration >= 0);
  Fuzz::check(timeOf('+' + text).has_value() == duration.has_value());
  Fuzz::check(timeOf('-' + text).has_value() == duration.has_value());
  if (duration && *duration <= kStart) Fuzz::check(timeOf('-' + text) == kSpan.end - *duration);
  if (const std::optional<Nano> utc = nanoFromUtc(text)) {
    Fuzz::check(time == utc && nanoFromUtc(utcText(*utc)) == utc);
  }
}

template <class Choose>
std::vector<Signal> chosenBy(Choose&& choose) try {
  return choose();
} catch (const Error& error) {
  Fuzz::check(error.code() != ErrorCode::Unreadable && !error.reason().empty());
  return {};
}

void chooseSignals(const std::string& text) {
  const File& file = typedAt();
  for (const Signal& signal : chosenBy([&] { return file.choose({text}); })) {
    Fuzz::check(file.choose({signal.qualifiedName()}) == std::vector<Signal>{signal});
  }
  for (const Signal& signal : chosenBy([&] { return choose({text}, offered()); })) {
    Fuzz::check(choose({signal.qualifiedName()}, offered()) == std::vector<Signal>{signal});
  }
  for (const Signal& signal : chosenBy([&] { return file.match(text); })) Fuzz::check(signal.matches(text));
  chosenBy([&] { return std::vector<Signal>{file.signal(text)}; });
  chosenBy([&] { return file.resolve(text); });
  file.search(text);
  Fuzz::check(nearNames(text, file.signals()).size() <= 5);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLongest = 200;
  const std::string text(reinterpret_cast<const char*>(data), std::min(size, kLongest));
  readTimes(text);
  chooseSignals(text);
  return 0;
}
