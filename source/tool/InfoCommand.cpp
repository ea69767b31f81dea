#include <fmt/format.h>
#include <memory>

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

Json headerJson(const Header& header) {
  Json values = Json::object();
  for (const auto& [key, value] : header.values) values[key] = value;
  return {{"tag", header.tag}, {"values", std::move(values)}};
}

Json streamJson(const Stream& stream) {
  Json headers = Json::array();
  for (const Header& header : stream.headers()) headers.push_back(headerJson(header));
  Json counters = Json::object();
  for (const Counter& counter : stream.counters()) counters[counter.name] = counter.count;
  return {{"id", stream.id()},
          {"serial", stream.serial()},
          {"codec", stream.codec()},
          {"codecNumber", stream.codecNumber()},
          {"name", stream.name()},
          {"group", stream.group()},
          {"resource",
           {{"index", stream.fileIndex()},
            {"kind", static_cast<int>(stream.fileKind())},
            {"path", stream.filePath()},
            {"extension", stream.fileExtension()}}},
          {"headerSeen", stream.headerSeen()},
          {"headerAccepted", stream.headerAccepted()},
          {"hasTime", stream.hasTime()},
          {"start", stream.start()},
          {"end", stream.end()},
          {"signals", stream.signals().size()},
          {"header", headerJson(stream.header())},
          {"headers", std::move(headers)},
          {"counters", std::move(counters)}};
}

std::string infoJson(const File& file) {
  Json streams = Json::array();
  for (const Stream& stream : file.streams()) streams.push_back(streamJson(stream));
  const Json all{
      {"file", file.path()}, {"start", file.span().start}, {"end", file.span().end}, {"streams", std::move(streams)}};
  return jsonText(all, 2) + '\n';
}

/// "2024-12-08 00:03:27.000 UTC  (1417651425000000000 ns)".
std::string timeText(Nano nano) {
  constexpr std::size_t kDate = 10;
  constexpr std::size_t kTimeWithMillis = 12;
  const std::string utc = utcText(nano);
  return fmt::format("{} {} UTC  ({} ns)", utc.substr(0, kDate), utc.substr(kDate + 1, kTimeWithMillis), nano);
}

double secondsIn(Span span) {
  return (static_cast<double>(span.end) - static_cast<double>(span.start)) * 1e-9;
}

void addSpan(TextTable& table, Span span) {
  table.addRow({"start", timeText(span.start)});
  table.addRow({"end", timeText(span.end)});
  table.addRow({"length", fmt::format("{:.3f} s", secondsIn(span))});
}

std::string packetsText(const Stream& stream) {
  const std::uint64_t packets = stream.counters().front().count;
  const double seconds = stream.hasTime() ? secondsIn({stream.start(), stream.end()}) : 0;
  if (seconds <= 0) return std::to_string(packets);
  return fmt::format("{} ({:.4g} per second)", packets, static_cast<double>(packets) / seconds);
}

std::string headersText(const Stream& stream) {
  std::string text = stream.header().tag;
  for (const Header& header : stream.headers()) text += ' ' + (header.tag.empty() ? "?" : header.tag);
  return text;
}

std::string streamText(const Stream& stream, const File& file) {
  TextTable table;
  table.addRow({"name", stream.name()});
  table.addRow({"serial", std::to_string(stream.serial())});
  if (stream.hasTime()) {
    addSpan(table, {stream.start(), stream.end()});
  } else {
    table.addRow({"time", stream.headerAccepted() ? "none" : "none: its header is not complete or not understood"});
  }
  table.addRow({"signals", std::to_string(stream.signals().size())});
  table.addRow({"packets", packetsText(stream)});
  table.addRow({"header", headersText(stream)});
  table.addRow({"damage", damageText(ownCounters(stream, file))});
  return fmt::format("\nStream {}: {}\n", stream.id(), stream.codec()) + table.text(2);
}

std::string infoText(const File& file) {
  TextTable table;
  table.addRow({"file", file.path()});
  table.addRow({"streams", std::to_string(file.streams().size())});
  if (file.hasTime()) addSpan(table, file.span());
  table.addRow({"damage", damageText(file.damage().counters())});
  std::string text = table.text();
  for (const Stream& stream : file.streams()) text += streamText(stream, file);
  return text;
}

VrelExit showInfo(const InfoOptions& options) {
  const OpenedFile opened(options.file);
  Output output;
  output.write(options.json ? infoJson(opened.file) : infoText(opened.file));
  output.finish();
  opened.warnOfDamage();
  return opened.exit();
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
