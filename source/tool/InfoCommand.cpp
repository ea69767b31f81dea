#include <fmt/format.h>
#include <memory>

#include "library/Enumerations.h"
#include "library/TimeUnits.h"
#include "tool/Commands.h"
#include "tool/Counters.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::string file;
  bool json = false;
};

std::string_view codecName(const Sto::Stream& stream) {
  return Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(stream.codec()));
}

Json packetJson(const Com::TaggedPacket& packet) {
  Json values = Json::object();
  for (const auto& [key, value] : packet.values) values[key] = value;
  return {{"tag", packet.tag}, {"values", std::move(values)}};
}

Json streamJson(const Sto::Stream& stream, const Sto::Resource& resource) {
  const Sto::StreamInfo info = stream.info();
  Json headers = Json::array();
  for (const Com::TaggedPacket& packet : stream.header().headers) headers.push_back(packetJson(packet));
  Json counters = Json::object();
  for (const auto& [name, count] : streamCounters(stream, resource)) counters[std::string(name)] = count;
  for (const auto& [name, count] : fileCounters(resource)) counters[std::string(name)] = count;
  return {{"id", info.index},
          {"serial", info.serial},
          {"codec", codecName(stream)},
          {"codecNumber", static_cast<int>(info.codec)},
          {"name", info.name},
          {"group", info.groupIndex},
          {"resource",
           {{"index", resource.index},
            {"kind", static_cast<int>(resource.kind)},
            {"path", resource.path},
            {"extension", resource.extension}}},
          {"headerSeen", info.headerSeen},
          {"headerAccepted", info.headerAccepted},
          {"hasTime", info.hasTime},
          {"start", info.startTime},
          {"end", info.endTime},
          {"signals", OpenedFile::signalsOf(stream).size()},
          {"header", packetJson(stream.header().primary)},
          {"headers", std::move(headers)},
          {"counters", std::move(counters)}};
}

std::string infoJson(const OpenedFile& file) {
  Json streams = Json::array();
  file.forEachStream([&](const Sto::Stream& stream, const Sto::Resource& resource) {
    streams.push_back(streamJson(stream, resource));
  });
  const Json all{{"file", file.path}, {"start", file.start}, {"end", file.end}, {"streams", std::move(streams)}};
  return jsonText(all, 2) + '\n';
}

std::string timeText(Lib::Nano nano) {
  return fmt::format("{} UTC  ({} ns)", Lib::dateTimeText(nano), nano);
}

double secondsBetween(Lib::Nano start, Lib::Nano end) {
  return (static_cast<double>(end) - static_cast<double>(start)) * 1e-9;
}

void addSpan(TextTable& table, Lib::Nano start, Lib::Nano end) {
  table.addRow({"start", timeText(start)});
  table.addRow({"end", timeText(end)});
  table.addRow({"length", fmt::format("{:.3f} s", secondsBetween(start, end))});
}

std::string packetsText(const Sto::StreamInfo& info, std::uint64_t packets) {
  const double seconds = info.hasTime ? secondsBetween(info.startTime, info.endTime) : 0;
  if (seconds <= 0) return std::to_string(packets);
  return fmt::format("{} ({:.4g} per second)", packets, static_cast<double>(packets) / seconds);
}

std::string headersText(const Sto::Stream& stream) {
  std::string text = stream.header().primary.tag;
  for (const Com::TaggedPacket& packet : stream.header().headers) {
    text += ' ' + (packet.tag.empty() ? "?" : packet.tag);
  }
  return text;
}

std::string streamText(const Sto::Stream& stream, const Sto::Resource& resource) {
  const Sto::StreamInfo info = stream.info();
  TextTable table;
  table.addRow({"name", info.name});
  table.addRow({"serial", std::to_string(info.serial)});
  if (info.hasTime) {
    addSpan(table, info.startTime, info.endTime);
  } else {
    table.addRow({"time", info.headerAccepted ? "none" : "none: its header is not complete or not understood"});
  }
  table.addRow({"signals", std::to_string(OpenedFile::signalsOf(stream).size())});
  table.addRow({"packets", packetsText(info, stream.counters.packets)});
  table.addRow({"header", headersText(stream)});
  table.addRow({"damage", damageText(streamCounters(stream, resource))});
  return fmt::format("\nStream {}: {}\n", info.index, codecName(stream)) + table.text(2);
}

std::string infoText(const OpenedFile& file) {
  TextTable table;
  table.addRow({"file", file.path});
  table.addRow({"streams", std::to_string(file.streamIds.size())});
  if (file.hasTime) addSpan(table, file.start, file.end);
  file.visitResource([&](const Sto::Resource& resource) {
    table.addRow({"damage", damageText(fileCounters(resource))});
  });
  std::string text = table.text();
  file.forEachStream(
      [&](const Sto::Stream& stream, const Sto::Resource& resource) { text += streamText(stream, resource); });
  return text;
}

VrelExit showInfo(const InfoOptions& options) {
  const OpenedFile file(options.file);
  Output output;
  output.write(options.json ? infoJson(file) : infoText(file));
  output.finish();
  file.warnOfDamage();
  return file.exit();
}

}  // namespace

void addInfoCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<InfoOptions>();
  CLI::App* command =
      addFileCommand(app, "info", "Show the streams of a file, their times and their damage", options->file);
  command->add_flag("--json", options->json, "Write JSON, times in GPS nanoseconds");
  command->footer(
      "Times are given as UTC and as nanoseconds since 1980-01-06 on the GPS time line.\n\n"
      "Example:\n  vrel info run.vrel");
  command->callback([options, &action] { action = [options] { return showInfo(*options); }; });
}

}  // namespace Kvex::Tool
