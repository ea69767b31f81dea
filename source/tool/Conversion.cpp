#include "tool/Conversion.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <optional>
#include <vector>

#include "codecs.h"
#include "store/Content.h"
#include "store/DataStore.h"

namespace Kvex::Tool {

namespace {

using Lib::Nano;
using Lib::Sample;

/// The columns, in their order in a line.
constexpr std::string_view kSignals[] = {"Nano", "GnssInt1_Latitude", "GnssInt1_Longitude", "GnssInt1_Altitude"};

constexpr std::size_t kAltitudeColumn = 3;
constexpr int kAngleDigits = 12;
constexpr int kAltitudeDigits = 3;

std::optional<std::uint32_t> findZintStream(const Sto::DataStore& store, const std::vector<std::uint32_t>& streamIds) {
  const auto found = std::find_if(streamIds.begin(), streamIds.end(), [&](std::uint32_t id) {
    return store.streamInfo(id).codec == Lib::StreamCodec::Zint;
  });
  if (found == streamIds.end()) return std::nullopt;
  return *found;
}

/// The format of a column goes by its place alone: a signal that the stream lacks moves the later ones forward.
void writeLine(std::ostream& out, const std::vector<Sample>& samples, fmt::memory_buffer& line) {
  line.clear();
  const auto end = std::back_inserter(line);
  for (std::size_t column = 0; column < samples.size(); ++column) {
    const Sample& sample = samples[column];
    if (column == 0) {
      fmt::format_to(end, "{}", sample.asInteger());
    } else if (column == kAltitudeColumn) {
      fmt::format_to(end, ";{:.{}f}", static_cast<double>(sample.as<float>()), kAltitudeDigits);
    } else {
      fmt::format_to(end, ";{:.{}f}", sample.as<double>(), kAngleDigits);
    }
  }
  line.push_back('\n');
  out.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
}

int failOutput(const std::filesystem::path& path) {
  std::cerr << "Error: Output file \"" << path.string() << "\" could not be written." << std::endl;
  return kOutputFailed;
}

}  // namespace

int convert(const ConversionOptions& options) {
  Sto::DataStore store(Sto::StoreConfig{}, allCodecs());
  std::vector<std::uint32_t> streamIds;
  store.addFile(options.inputPath.string(), streamIds);
  std::cout << "Added " << streamIds.size() << " streams from VREL file." << std::endl;
  if (streamIds.empty()) {
    std::cerr << "Error: Resource failed to be added." << std::endl;
    return kNoStreams;
  }

  Nano start = 0;
  Nano end = 0;
  store.startTime(start);
  store.endTime(end);
  std::cout << "Start time (GPS nanoseconds): " << start << std::endl;
  std::cout << "End time (GPS nanoseconds): " << end << std::endl;

  const std::optional<std::uint32_t> zintStream = findZintStream(store, streamIds);
  if (!zintStream) {
    std::cerr << "Error: ZINT stream not found." << std::endl;
    return kNoZintStream;
  }
  std::cout << "Found ZINT stream (stream ID = " << *zintStream << ")" << std::endl;

  Sto::SignalQuery query;
  for (const std::string_view name : kSignals) {
    // A name that the stream does not have adds no column.
    store.subscribe(Sto::kDirectMode, *zintStream, name);
    store.addToQuery(query, Sto::kDirectMode, *zintStream, name);
  }

  // Opening a recording for output, the input above all, would empty it.
  std::error_code ignored;
  if (std::filesystem::equivalent(options.inputPath, options.outputPath, ignored) ||
      Sto::holdsRecording(options.outputPath.string(), allCodecs())) {
    return failOutput(options.outputPath);
  }
  std::ofstream out(options.outputPath);
  if (!out) return failOutput(options.outputPath);

  std::uint32_t lineCount = 0;
  store.seekAll(start);
  const Nano step = std::int64_t{options.secondsPerSample} * Lib::kNanosPerSecond;
  std::vector<Sample> samples;
  fmt::memory_buffer line;
  for (Nano t = start; t < end; t += step) {
    store.readSamples(query, t, samples);
    writeLine(out, samples, line);
    if (!out) return failOutput(options.outputPath);
    ++lineCount;
    if (t > INT64_MAX - step) break;
  }
  store.closeFiles();
  out.close();
  if (!out) return failOutput(options.outputPath);
  std::cout << lineCount << " lines written to file \"" << options.outputPath << "\"" << std::endl;
  return kSuccess;
}

}  // namespace Kvex::Tool
