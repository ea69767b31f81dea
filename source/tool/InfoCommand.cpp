#include <algorithm>
#include <fmt/format.h>
#include <memory>

#include "tool/Commands.h"
#include "tool/Counters.h"
#include "tool/FileByFile.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/Seconds.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::vector<std::string> files;
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
          {"start", stream.hasTime() ? Json(stream.start()) : Json()},
          {"end", stream.hasTime() ? Json(stream.end()) : Json()},
          {"signals", stream.signals().size()},
          {"header", headerJson(stream.header())},
          {"headers", std::move(headers)},
          {"counters", std::move(counters)}};
}

Json infoJson(const File& file) {
  Json streams = Json::array();
  for (const Stream& stream : file.streams()) streams.push_back(streamJson(stream));
  return {{"file", file.path()},
          {"start", file.hasTime() ? Json(file.span().start) : Json()},
          {"end", file.hasTime() ? Json(file.span().end) : Json()},
          {"judgement", nameOf(file.judgement())},
          {"streams", std::move(streams)}};
}

/// "2024-12-08 00:03:27.000".
std::string utcTime(Nano nano) {
  constexpr std::size_t kDate = 10;
  constexpr std::size_t kTimeWithMillis = 12;
  const std::string utc = utcText(nano);
  return utc.substr(0, kDate) + ' ' + utc.substr(kDate + 1, kTimeWithMillis);
}

/// "2024-12-08 00:03:27.000 UTC  (1417651425000000000 ns)".
std::string timeText(Nano nano) {
  return fmt::format("{} UTC  ({} ns)", utcTime(nano), nano);
}

void addSpan(TextTable& table, Span span) {
  table.addRow({"start", timeText(span.start)});
  table.addRow({"end", timeText(span.end)});
  table.addRow({"length", fmt::format("{:.3f} s", secondsBetween(span.start, span.end))});
}

/// Says why a file's start is not that of its first stream.
void explainStart(TextTable& table, const File& file) {
  Nano earliest = INT64_MAX;
  for (const Stream& stream : file.streams()) {
    if (stream.hasTime()) earliest = std::min(earliest, stream.start());
  }
  const double behind = secondsBetween(earliest, file.span().start);
  if (behind <= 0) return;
  table.addRow({"", fmt::format("(the start is {:.0f} ms behind that of the first stream: all streams that begin "
                                "together have values by then)",
                                behind * 1e3)});
}

/// "none", or what the judgement means.
std::string judgementText(const File& file) {
  return file.judgement() == Judgement::Whole ? "none" : file.damage().sentence();
}

std::string packetsText(const Stream& stream) {
  const std::uint64_t packets = stream.counters().front().count;
  const double seconds = stream.hasTime() ? secondsBetween(stream.start(), stream.end()) : 0;
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
  table.addRow({"damage", streamDamageText(stream, file)});
  return fmt::format("\nStream {}: {}\n", stream.id(), stream.codec()) + table.text(2);
}

std::string infoText(const File& file) {
  TextTable table;
  table.addRow({"file", file.path()});
  table.addRow({"streams", std::to_string(file.streams().size())});
  if (file.hasTime()) {
    addSpan(table, file.span());
    explainStart(table, file);
  }
  table.addRow({"damage", judgementText(file)});
  std::string text = table.text();
  for (const Stream& stream : file.streams()) text += streamText(stream, file);
  return text;
}

/// A row of the table of several files.
std::vector<std::string> infoRow(const File& file) {
  std::string codecs;
  for (const Stream& stream : file.streams()) {
    codecs.append(codecs.empty() ? "" : ",").append(stream.codec());
  }
  const bool hasTime = file.hasTime();
  return {file.path(),
          hasTime ? utcTime(file.span().start) : "-",
          hasTime ? fmt::format("{:.3f}", secondsBetween(file.span().start, file.span().end)) : "-",
          std::to_string(file.streams().size()),
          std::move(codecs),
          std::string(nameOf(file.judgement()))};
}

VrelExit showOne(const InfoOptions& options) {
  const OpenedFile opened(options.files.front());
  Output output;
  output.write(options.json ? jsonText(infoJson(opened.file), 2) + '\n' : infoText(opened.file));
  output.finish();
  opened.tellJudgement();
  return opened.exit();
}

VrelExit showMany(const InfoOptions& options) {
  Output output;
  TextTable table;
  table.addRow({"FILE", "START [UTC]", "LENGTH [s]", "STREAMS", "CODECS", "JUDGEMENT"});
  const FilesDone done = doEach(options.files, [&](const std::string& path) {
    const OpenedFile opened(path);
    if (options.json) {
      output.write(jsonText(infoJson(opened.file)) + '\n');
    } else {
      table.addRow(infoRow(opened.file));
    }
    return opened.exit();
  });
  if (!options.json) output.write(table.text());
  output.finish();
  return done.exit();
}

}  // namespace

void addInfoCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<InfoOptions>();
  CLI::App* command =
      addFilesCommand(app, "info", "Show the streams of a file, their times and their damage", options->files);
  command->add_flag("--json", options->json, "Write JSON, times in GPS nanoseconds");
  command->footer(
      "Times are given as UTC and as nanoseconds since 1980-01-06 on the GPS time line. The file's start is 100 ms\n"
      "behind that of its first stream where the streams do not all start at the same time: by then those that begin\n"
      "together have values.\n\n"
      "Of several FILEs each has a line of a table, with --json a line of JSON.\n\n"
      "Example:\n  vrel info run.vrel");
  command->callback([options, &action] {
    action = [options] { return options->files.size() == 1 ? showOne(*options) : showMany(*options); };
  });
}

}  // namespace Kvex::Tool
