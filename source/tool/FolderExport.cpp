#include "tool/FolderExport.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "tool/CsvOptions.h"
#include "tool/FileByFile.h"
#include "tool/Messages.h"
#include "tool/TableWriter.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

namespace fs = std::filesystem;

constexpr const char* kListStem = "signals";
constexpr const char* kListEnding = ".csv";
constexpr const char* kListKeys[] = {"file", "column", "stream", "name", "unit", "type", "description"};

/// Values that a reader holds at a time, in batches of all tables: some MiB.
constexpr std::size_t kHeldValues = 0x80000;
constexpr std::size_t kMinRows = 64;
constexpr std::size_t kMaxRows = 0x8000;

std::string tableStem(std::uint32_t stream, const std::string& table) {
  return table.empty() ? std::to_string(stream) : fmt::format("{}-{}", stream, table);
}

void appendLine(fmt::memory_buffer& buffer, std::span<const std::string> cells, char delimiter) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) buffer.push_back(delimiter);
    buffer.append(csvField(cells[i], delimiter));
  }
  buffer.push_back('\n');
}

void summarize(const FilesDone& done) {
  std::string text = fmt::format("{} of {} files exported", done.files - done.failed, done.files);
  if (done.damaged > 0) text += fmt::format(", {} of them with damaged or lost data", done.damaged);
  if (done.failed > 0) text += fmt::format(", {} failed", done.failed);
  say("vrel: {}", text);
}

}  // namespace

bool namesFolder(const std::string& path) {
  std::error_code ignored;
  return path.ends_with('/') || fs::is_directory(path, ignored);
}

OutputFolder::OutputFolder(std::string path) : path_(std::move(path)) {
  std::error_code error;
  std::vector<fs::path> missing;
  for (fs::path part = fs::path(path_ + "/.").parent_path(); !part.empty() && !fs::exists(part, error);) {
    if (part.has_filename()) missing.push_back(part);
    if (part == part.parent_path()) break;
    part = part.parent_path();
  }
  std::ranges::reverse(missing);
  for (const fs::path& part : missing) {
    if (fs::create_directory(part, error)) made_.push_back(part.string());
  }
  if (!fs::is_directory(path_, error)) {
    if (!error) error = std::make_error_code(std::errc::not_a_directory);
    throw Failure(fmt::format("cannot make the folder \"{}\": {}", printable(path_), error.message()));
  }
}

OutputFolder::~OutputFolder() {
  std::ranges::reverse(made_);
  for (const std::string& part : made_) ::rmdir(part.c_str());  // only an empty one goes
}

std::string OutputFolder::pathOf(const std::string& name) const {
  return (fs::path(path_) / name).string();
}

FolderExport::FolderExport(const std::string& folder, bool force, const TableStyle& style, const std::string& ending,
                           const std::vector<Signal>& signals, Nano start)
    : style_(style),
      ending_(ending),
      folder_(folder),
      list_(folder_.pathOf(names_.add(kListStem, kListEnding)), Output::Options{.force = force, .onlyToWrite = true}) {
  addTables(signals);
  for (Table& table : tables_) {
    table.fileName = names_.add(tableStem(table.stream, table.name), ending_);
    table.output =
        std::make_unique<Output>(folder_.pathOf(table.fileName), Output::Options{.force = force, .onlyToWrite = true});
    table.formatter = std::make_unique<TableFormatter>(style_, table.signals, start);
  }
  writeSignalList();
}

void FolderExport::addTables(const std::vector<Signal>& signals) {
  std::map<std::pair<std::uint32_t, std::string>, std::size_t> places;
  for (const Signal& signal : signals) {
    if (std::ranges::find(streams_, signal.stream()) == streams_.end()) streams_.push_back(signal.stream());
    const auto [place, isNew] = places.try_emplace({signal.stream(), signal.table()}, tables_.size());
    if (isNew) tables_.push_back({signal.stream(), signal.table()});
    tables_[place->second].signals.push_back(signal);
  }
}

void FolderExport::writeSignalList() {
  const char delimiter = style_.csv.delimiter;
  fmt::memory_buffer& buffer = list_.buffer();
  if (style_.csv.byteOrderMark) buffer.append(kByteOrderMark);
  appendLine(buffer, std::vector<std::string>(std::begin(kListKeys), std::end(kListKeys)), delimiter);
  for (const Table& table : tables_) {
    for (const TableField& field : fieldsOf(table.signals, style_.qualified)) {
      const Signal& signal = table.signals[field.signal];
      const std::string& column = style_.shape == TableShape::Long ? field.longName : field.key;
      const std::string cells[] = {table.fileName,      column,        std::to_string(table.stream),
                                   field.name,          signal.unit(), std::string(nameOf(signal.type())),
                                   signal.description()};
      appendLine(buffer, cells, delimiter);
      list_.endRecord();
    }
  }
}

void FolderExport::write(File& file, const ReadOptions& reading) {
  for (const std::uint32_t stream : streams_) writeStream(file, stream, reading);
}

void FolderExport::writeStream(File& file, std::uint32_t stream, const ReadOptions& reading) {
  std::vector<Signal> signals;
  std::map<std::string_view, Table*> tables;
  std::size_t width = 0;
  TableWriter writer;
  for (Table& table : tables_) {
    if (table.stream != stream) continue;
    tables.emplace(table.name, &table);
    signals.insert(signals.end(), table.signals.begin(), table.signals.end());
    width += 1 + table.formatter->fieldCount();
    writer.beginTable(*table.output, *table.formatter);
  }
  ReadOptions options = writer.readOptions(true);
  options.batchRows = std::clamp(kHeldValues / width, kMinRows, kMaxRows);
  options.start = reading.start;
  options.end = reading.end;
  options.progress = reading.progress;
  options.stop = reading.stop;
  for (const Batch& batch : file.nativeTables(signals, options)) {
    const Table& table = *tables.at(batch.table());
    writer.resumeTable(*table.output, *table.formatter);
    writer.add(batch, 0);
  }
  writer.finish();
  for (const auto& [name, table] : tables) TableWriter::endTable(*table->output, *table->formatter);
}

void FolderExport::finish() {
  // What can fail comes first, so that the files appear together.
  for (const Table& table : tables_) table.output->flush();
  list_.flush();
  for (const Table& table : tables_) table.output->finish();
  list_.finish();
}

std::vector<std::string> FolderExport::spreadsheetWarnings() const {
  std::vector<std::string> warnings;
  for (const Table& table : tables_) {
    const std::string warning = spreadsheetWarning(*table.formatter);
    if (!warning.empty()) warnings.push_back(table.fileName + ": " + warning);
  }
  return warnings;
}

VrelExit exportEach(const std::vector<std::string>& files, const OutputFolder& folder, const std::string& ending,
                    const std::function<VrelExit(const std::string& file, const std::string& output)>& exportOne) {
  FileNames names;
  const FilesDone done = doEach(
      files, [&](const std::string& file) { return exportOne(file, folder.pathOf(names.add(stemOf(file), ending))); });
  if (files.size() > 1) summarize(done);
  return done.exit();
}

}  // namespace Kvex::Tool
