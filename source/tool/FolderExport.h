#pragma once

#include <functional>
#include <kvex/File.h>
#include <memory>
#include <string>
#include <vector>

#include "tool/Failure.h"
#include "tool/FileNames.h"
#include "tool/Output.h"
#include "tool/TableFormatter.h"

namespace Kvex::Tool {

/// Whether a path as a user types it means a folder: it ends with a slash, or there is one.
bool namesFolder(const std::string& path);

/// The folder that results go to. It is made if there is none, and then taken away again if nothing came into it.
class OutputFolder {
 public:
  explicit OutputFolder(std::string path);
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  /// The path of a file in it.
  std::string pathOf(const std::string& name) const;

 private:
  std::string path_;
  std::vector<std::string> made_;  ///< Folders, the outermost first.
};

/// Writes the native samples of signals into a folder: a file for each table of each stream, and "signals.csv" with a
/// line for each of their columns. The files appear when all are complete. Each stream is
/// walked once.
class FolderExport {
 public:
  /// `force`: recordings in the places of files may be replaced. `ending` is that of the tables' files. `start` is
  /// where elapsed time counts from.
  FolderExport(const std::string& folder, bool force, const TableStyle& style, const std::string& ending,
               const std::vector<Signal>& signals, Nano start);

  /// Writes the tables. `reading` has the span, and what belongs to progress and stopping.
  void write(File& file, const ReadOptions& reading);
  /// Brings all files to their places.
  void finish();

  /// What is said of tables that are too large for a spreadsheet.
  std::vector<std::string> spreadsheetWarnings() const;

 private:
  struct Table {
    std::uint32_t stream;
    std::string name;
    std::string fileName;
    std::vector<Signal> signals;
    std::unique_ptr<Output> output;
    std::unique_ptr<TableFormatter> formatter;
  };

  void addTables(const std::vector<Signal>& signals);
  void writeStream(File& file, std::uint32_t stream, const ReadOptions& reading);
  void writeSignalList();

  TableStyle style_;
  std::string ending_;
  OutputFolder folder_;
  FileNames names_;
  std::vector<std::uint32_t> streams_;  ///< In the order in which they are walked.
  std::vector<Table> tables_;
  Output list_;
};

/// Exports file after file, each under a name of its own in a folder, goes on after one that fails, and says on
/// standard error what became of them. `name` ends with `ending`. The result is the worst one: a file that failed, then
/// one that is damaged.
VrelExit exportEach(const std::vector<std::string>& files, const OutputFolder& folder, const std::string& ending,
                    const std::function<VrelExit(const std::string& file, const std::string& output)>& exportOne);

}  // namespace Kvex::Tool
