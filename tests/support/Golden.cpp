#include "support/Golden.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "codecs.h"
#include "library/Enumerations.h"
#include "store/DataStore.h"
#include "support/Answers.h"

namespace Kvex::Support {

namespace {

using Lib::Nano;
using Lib::Sample;
using nlohmann::json;

constexpr int kMaxShown = 10;

/// Collects differences; keeps the first few and counts the rest.
class Differences {
 public:
  void add(const std::string& text) {
    if (++count_ <= kMaxShown) out_ << text << '\n';
  }
  std::string text() const { return count_ == 0 ? "" : out_.str() + std::to_string(count_) + " differences in all\n"; }

 private:
  std::ostringstream out_;
  int count_ = 0;
};

/// Whether a value agrees with the text of an answer: integers exactly, floating values within what the order of
/// additions may change.
bool agrees(const Sample& sample, const std::string& text, const std::string& signal) {
  if (sample.type == Lib::ValueType::Bool) return text == (sample.as<std::uint8_t>() != 0 ? "true" : "false");
  if (sample.type == Lib::ValueType::UInt64) return text == std::to_string(sample.value);
  const bool isFloat = sample.type == Lib::ValueType::Float;
  if (!isFloat && sample.type != Lib::ValueType::Double) return text == std::to_string(sample.asInteger());
  const double value = isFloat ? sample.as<float>() : sample.as<double>();
  const double expected = std::strtod(text.c_str(), nullptr);
  return agreesWithin(value, expected, isFloat, signal);
}

std::string show(const Sample& sample) {
  std::ostringstream out;
  out.precision(17);
  out << "flags " << int{sample.flags} << ", stamp " << sample.time << ", value ";
  if (sample.type == Lib::ValueType::Double) {
    out << sample.as<double>();
  } else if (sample.type == Lib::ValueType::Float) {
    out << sample.as<float>();
  } else {
    out << sample.asInteger();
  }
  return out.str();
}

class Comparison {
 public:
  explicit Comparison(const std::string& name)
      : path_(dataPath(name)), stem_(path_.substr(0, path_.rfind('.'))), store_(Sto::StoreConfig{}, allCodecs()) {
    std::ifstream file(stem_ + ".info.json");
    info_ = json::parse(file);
  }

  std::string run() {
    std::vector<std::uint32_t> ids;
    store_.addFile(path_, ids);
    Nano start = 0;
    Nano end = 0;
    store_.startTime(start);
    store_.endTime(end);
    expect("start", info_["start"], start);
    expect("end", info_["end"], end);
    expect("streams", info_["streams"].size(), ids.size());
    for (const json& stream : info_["streams"]) compareStream(stream);
    compareValues(stem_ + ".all.csv.gz", info_["reads"][0]["period"], start, end, {});
    if (info_["reads"].size() > 1) {
      Comparison other(path_.substr(path_.rfind('/') + 1));  // a few signals, subscribed alone in a store of their own
      std::vector<std::uint32_t> otherIds;
      other.store_.addFile(path_, otherIds);
      const json& read = info_["reads"][1];
      other.compareValues(stem_ + ".some.csv.gz", read["period"], start, end, read["signals"]);
      const std::string differences = other.differences_.text();
      if (!differences.empty()) differences_.add("signals subscribed alone:\n" + differences);
    }
    return differences_.text();
  }

  std::string runNative() {
    std::vector<std::uint32_t> ids;
    store_.addFile(path_, ids);
    // One file's answers are those of the few signals of its second read.
    const bool few = path_.ends_with("yeld_chase2_lanes_11.yeld");
    compareNative(stem_ + ".native.csv.gz", few ? info_["reads"][1]["signals"] : json());
    return differences_.text();
  }

 private:
  template <class Expected, class Got>
  void expect(const std::string& what, const Expected& expected, const Got& got) {
    if (json(expected) != json(got))
      differences_.add(what + ": expected " + json(expected).dump() + ", got " + json(got).dump());
  }

  void compareStream(const json& expected) {
    const std::uint32_t id = expected["id"];
    const std::string what = "stream " + std::to_string(id) + " ";
    const Sto::StreamInfo info = store_.streamInfo(id);
    expect(what + "serial", expected["serial"], info.serial);
    expect(what + "codec", expected["codec"],
           std::string(Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(info.codec))));
    expect(what + "hasTime", expected["hasTime"], info.hasTime);
    if (info.hasTime) {
      expect(what + "start", expected["start"], info.startTime);
      expect(what + "end", expected["end"], info.endTime);
    }
    store_.visitStream(id, [&](const Sto::Stream& stream, const Sto::Resource&) {
      compareTag(what + "scan tag ", expected["scanTag"], stream.header().findHeader("{Kvex-StreamScan}"));
      compareTag(what + "range tag ", expected["rangeTag"], stream.header().findHeader("{Kvex-Range}"));
    });
  }

  void compareTag(const std::string& what, const json& expected, const Com::TaggedPacket* packet) {
    if (expected.is_null() || packet == nullptr) return expect(what + "missing", expected.is_null(), packet == nullptr);
    expect(what + "size", expected.size(), packet->values.size());
    for (const auto& [key, value] : expected.items()) {
      std::string got;
      if (!packet->getText(key, got)) differences_.add(what + "lacks " + key);
      if (!value.is_null()) expect(what + key, value, got);  // null: reference data, whose texts are free
    }
  }

  static std::uint64_t valueBytes(const Sto::NativeReader& reader, Lib::ValueType type, std::size_t element,
                                  std::size_t step) {
    Sample sample;
    Lib::withType(type, [&](auto tag) { sample.set(reader.value<typename decltype(tag)::Type>(element, step)); });
    return sample.value;
  }

  /// False where the answers go another way, so that what follows cannot agree either.
  bool compareStep(GzLines& lines, const std::vector<Sto::SignalListing>& signals, const Sto::NativeReader& reader,
                   std::size_t step) {
    const Nano time = reader.times()[step];
    std::string line;
    for (std::size_t row = 0; row < signals.size(); ++row) {
      for (std::uint32_t i = 0; i < signals[row].count; ++i) {
        const std::size_t element = reader.firstElement(row) + i;
        if ((reader.samples(element) >> step & 1) == 0) continue;
        Sample sample;
        sample.type = signals[row].valueType;
        sample.value = valueBytes(reader, signals[row].valueType, element, step);
        sample.flags = reader.flags(element, step);
        sample.time = reader.stamp(element, step);
        if (!lines.next(line)) {
          differences_.add("native answers end at " + std::to_string(time));
          return false;
        }
        if (!compareLine(line, time, signals[row].streamId, signals[row].elementName(i), sample)) return false;
        if (((reader.usableSamples(element) >> step & 1) != 0) != sample.usable()) {
          differences_.add("a usable value is not marked as such: " + line);
        }
      }
    }
    return true;
  }

  /// The named signals of a Stream, or all.
  std::vector<Sto::SignalListing> namedSignals(std::uint32_t id, const json& names) const {
    std::vector<Sto::SignalListing> listings;
    store_.visitStream(id, [&](const Sto::Stream& found, const Sto::Resource&) { listings = found.namedSignals(); });
    std::erase_if(listings, [&](const Sto::SignalListing& listing) {
      return !names.empty() && std::find(names.begin(), names.end(), listing.name) == names.end();
    });
    return listings;
  }

  /// Subscribes what is to be read: the named signals of whichever Streams have them, or all.
  void subscribe(const json& names) {
    for (const json& stream : info_["streams"]) {
      for (const Sto::SignalListing& listing : namedSignals(stream["id"], names)) {
        if (store_.subscribe(Sto::kDirectMode, listing) != Sto::StoreStatus::Success) continue;
        store_.addToQuery(query_, Sto::kDirectMode, listing);
      }
    }
  }

  /// All samples as the recording carried them, of the signals named or of all.
  void compareNative(const std::string& answers, const json& names) {
    GzLines lines(answers);
    std::string line;
    if (!lines.next(line)) return;  // some files have no such answers
    for (const json& stream : info_["streams"]) {
      if (stream["hasTime"] == false) continue;
      const std::vector<Sto::SignalListing> signals = namedSignals(stream["id"], names);
      const auto reader = store_.openNative(stream["id"], signals, Sto::NativeReader::Detail::FlagsAndStamp);
      while (reader->readBlock()) {
        for (std::size_t step = 0; step < reader->times().size(); ++step) {
          if (!compareStep(lines, signals, *reader, step)) return;
        }
      }
    }
    if (lines.next(line)) differences_.add("native answers go on: " + line);
  }

  void compareValues(const std::string& answers, Nano period, Nano start, Nano end, const json& names) {
    subscribe(names);
    GzLines lines(answers);
    std::string line;
    if (!lines.next(line)) return differences_.add("no answers in " + answers);
    store_.seekAll(start);
    std::vector<Sample> samples;
    for (Nano t = start; t < end; t += period) {
      store_.readSamples(query_, t, samples);
      for (std::size_t column = 0; column < samples.size(); ++column) {
        if (!lines.next(line)) return differences_.add("answers end before time " + std::to_string(t));
        if (!compareLine(line, t, query_.columns()[column].streamId, query_.columns()[column].name, samples[column]))
          return;
      }
    }
    if (lines.next(line)) differences_.add("answers go on: " + line);
  }

  /// False where the line is of another signal, so that what follows cannot agree either.
  bool compareLine(const std::string& line, Nano t, std::int32_t streamId, const std::string& name,
                   const Sample& sample) {
    std::vector<std::string> cells;
    std::istringstream in(line);
    for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
    if (cells.size() != 6 || cells[0] != std::to_string(t) || cells[1] != std::to_string(streamId) ||
        cells[2] != name) {
      differences_.add("expected " + line + ", got " + std::to_string(t) + "," + std::to_string(streamId) + "," + name);
      return false;
    }
    const bool holdsValue = (sample.flags & 0xC0) == 0;
    const bool same = cells[3] == std::to_string(sample.flags) &&
                      (!holdsValue || (cells[4] == std::to_string(sample.time) && agrees(sample, cells[5], cells[2])));
    if (!same) differences_.add("expected " + line + ", got " + show(sample));
    return true;
  }

  std::string path_;
  std::string stem_;
  json info_;
  Sto::DataStore store_;
  Sto::SignalQuery query_;
  Differences differences_;
};

}  // namespace

std::string dataPath(const std::string& name) {
  return std::string(KVEX_TEST_DATA) + "/" + name;
}

std::string differencesFromAnswers(const std::string& name) {
  return Comparison(name).run();
}

std::string differencesFromNativeAnswers(const std::string& name) {
  return Comparison(name).runNative();
}

}  // namespace Kvex::Support
