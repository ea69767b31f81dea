#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <vector>

#include "support/Command.h"
#include "support/Golden.h"
#include "tool/FolderExport.h"

namespace Kvex::Tool {

namespace {

namespace fs = std::filesystem;
using Support::contentsOf;
using Support::dataPath;
using Support::runCommand;
using Support::scratchPath;
using testing::HasSubstr;

std::set<std::string> namesIn(const std::string& folder) {
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

/// A folder that is not there yet.
std::string freshFolder(const std::string& name) {
  const std::string path = scratchPath(name);
  fs::remove_all(path);
  return path;
}

void exportTables(const std::string& recording, const std::string& folder, const TableStyle& style) {
  File file(dataPath(recording));
  FolderExport tables(folder, false, style, ".csv", file.match("*"), file.span().start);
  tables.write(file, {});
  tables.finish();
}

/// All tables by the names of their files, each made of the rows of one table of all signals of its stream.
std::map<std::string, std::string> tablesOf(File& file, const TableStyle& style) {
  std::map<std::string, std::string> tables;
  for (const Stream& stream : file.streams()) {
    const std::vector<Signal> signals = file.match(std::to_string(stream.id()) + ":*");
    std::map<std::string, std::vector<Signal>> groups;
    for (const Signal& signal : signals) groups[signal.table()].push_back(signal);
    for (const auto& [table, group] : groups) {
      TableFormatter formatter(style, group, file.span().start);
      fmt::memory_buffer text;
      formatter.appendHeader(text);
      for (const Batch& batch : file.nativeTables(signals, {.flags = style.flags})) {
        if (batch.table() == table) formatter.appendRows(text, batch);
      }
      tables[safeFileName(std::to_string(stream.id()) + '-' + table, 100) + ".csv"] = fmt::to_string(text);
    }
  }
  return tables;
}

TEST(FolderExportTest, EachTableHasAFileWithItsRows) {
  for (const std::string name : {"zint_wild_11.vrel", "can_fd_11.vrel", "yeld_polygon_pieces_11.yeld"}) {
    for (const bool flags : {false, true}) {
      const TableStyle style{.time = TimeForm::Elapsed, .flags = flags};
      const std::string folder = freshFolder("tables");
      exportTables(name, folder + "/", style);
      File file(dataPath(name));
      std::set<std::string> expected{"signals.csv"};
      for (const auto& [fileName, text] : tablesOf(file, style)) {
        expected.insert(fileName);
        EXPECT_EQ(contentsOf(folder + '/' + fileName), text) << name << ' ' << fileName;
      }
      EXPECT_EQ(namesIn(folder), expected) << name;
    }
  }
}

TEST(FolderExportTest, TheListHasEachColumnOfEachFile) {
  const std::string folder = freshFolder("listed");
  exportTables("nav_recording_11.vrel", folder, {});
  std::istringstream list(contentsOf(folder + "/signals.csv"));
  std::string line;
  std::getline(list, line);
  EXPECT_EQ(line, "file,column,stream,name,unit,type,description");
  std::map<std::string, std::string> headers;
  while (std::getline(list, line)) {
    const std::size_t end = line.find(',');
    std::string& header = headers[line.substr(0, end)];
    header += ',' + line.substr(end + 1, line.find(',', end + 1) - end - 1);
  }
  for (const auto& [file, columns] : headers) {
    const std::string table = contentsOf(folder + '/' + file);
    EXPECT_EQ(table.substr(0, table.find('\n')), "time" + columns) << file;
  }
  EXPECT_EQ(headers.size() + 1, namesIn(folder).size());
}

TEST(FolderExportTest, ColumnsComeInTheOrderAskedForWithinTheSpan) {
  const std::string folder = freshFolder("ordered");
  const std::string options = "export " + dataPath("nav_recording_11.vrel") +
                              " --native --qualified --signal 2:Lon,2:Lat -o " + folder + "/ --time elapsed";
  EXPECT_EQ(runCommand("vrel", options + " --start +2030").exitCode, 2);
  EXPECT_FALSE(fs::exists(folder));
  ASSERT_EQ(runCommand("vrel", options + " --start +1 --end +1.5").exitCode, 0);
  std::istringstream table(contentsOf(folder + "/2-position.csv"));
  std::string line;
  std::getline(table, line);
  EXPECT_EQ(line, "time,2:Lon [°],2:Lat [°]");
  std::size_t rows = 0;
  for (; std::getline(table, line); ++rows) EXPECT_EQ(line.substr(0, 2), "1.") << line;
  EXPECT_GT(rows, 0U);
  EXPECT_THAT(contentsOf(folder + "/signals.csv"), HasSubstr("2-position.csv,2:Lat [°],2,Lat,°,"));
}

/// Takes away most of the descriptors that may be open, while it stands.
class FewDescriptors {
 public:
  FewDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit few{64, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_{};
};

TEST(FolderExportTest, HundredsOfTablesNeedFewDescriptors) {
  const std::string folder = freshFolder("few");
  const FewDescriptors few;
  exportTables("nav_recording_11.vrel", folder, {.shape = TableShape::Long});
  EXPECT_GT(namesIn(folder).size(), 300U);
}

TEST(FolderExportTest, NothingStaysOfAnExportThatDidNotFinish) {
  const std::string folder = freshFolder("outer");
  {
    File file(dataPath("nav_recording_11.vrel"));
    FolderExport tables(folder + "/inner/", false, {}, ".csv", file.match("*"), 0);
    tables.write(file, {});
    EXPECT_FALSE(fs::is_empty(folder + "/inner"));
  }
  EXPECT_FALSE(fs::exists(folder));
  fs::create_directory(folder);
  { const OutputFolder kept(folder); }
  EXPECT_TRUE(fs::exists(folder)) << "it was there before";
}

TEST(FolderExportTest, AnInterruptLeavesNoFile) {
  const std::string folder = freshFolder("interrupted");
  const std::string demo = scratchPath("long.vrel");
  ASSERT_EQ(runCommand("vrel", "synth " + demo + " --seconds 120").exitCode, 0);
  const auto result =
      runCommand("vrel", "export " + demo + " --native -o " + folder + "/ 2>/dev/null & vrel=$!; while [ ! -d " +
                             folder + " ]; do sleep 0.01; done; kill -INT $vrel; wait $vrel; exit $?");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_FALSE(fs::exists(folder));
}

TEST(FolderExportTest, WhereNoFolderCanBeIsAFailure) {
  const std::string file = scratchPath("plain.txt");
  std::ofstream(file) << "text";
  EXPECT_THROW(OutputFolder(file + "/"), Failure);
  EXPECT_THROW(OutputFolder(file + "/inner"), Failure);
  EXPECT_TRUE(namesFolder(scratchPath("")));
  EXPECT_TRUE(namesFolder("new/"));
  EXPECT_FALSE(namesFolder(file));
}

TEST(ExportEachTest, GoesOnAfterABadFileAndGivesTheWorstResult) {
  const std::string folder = freshFolder("each");
  const std::string good = dataPath("zint_plain_11.vrel");
  const std::string damaged = scratchPath("cut.vrel");
  std::ofstream(damaged, std::ios::binary) << contentsOf(good).erase(20'000, 9'000);
  const std::string options = " --signal GnssInt1_Altitude -o " + folder + "/";
  const auto mixed = runCommand("vrel", "export " + good + " none.vrel " + damaged + ' ' + good + options);
  EXPECT_EQ(mixed.exitCode, 1);
  EXPECT_THAT(mixed.errors, HasSubstr("vrel: \"none.vrel\": no such file\n"));
  EXPECT_THAT(mixed.errors, HasSubstr("vrel: 3 of 4 files exported, 1 of them with damaged or lost data, 1 failed\n"));
  EXPECT_EQ(mixed.output, "");
  EXPECT_EQ(namesIn(folder), (std::set<std::string>{"zint_plain_11.csv", "zint_plain_11-2.csv", "cut.csv"}));
  const std::string alone = scratchPath("alone.csv");
  ASSERT_EQ(runCommand("vrel", "export " + good + " --signal GnssInt1_Altitude -o " + alone).exitCode, 0);
  EXPECT_EQ(contentsOf(folder + "/zint_plain_11-2.csv"), contentsOf(alone));
  EXPECT_EQ(runCommand("vrel", "export " + good + ' ' + damaged + options).exitCode, 3);
  EXPECT_EQ(runCommand("vrel", "export " + good + ' ' + good + options).exitCode, 0);
}

TEST(ExportEachTest, ChoosesWhereTheTablesGo) {
  const std::string a = dataPath("zint_plain_11.vrel");
  const std::string b = dataPath("can_fd_11.vrel");
  const std::string folder = freshFolder("places") + "/";
  const auto several = runCommand("vrel", "export " + a + ' ' + b);
  EXPECT_EQ(several.exitCode, 2);
  EXPECT_THAT(several.errors, HasSubstr("-o FOLDER/"));
  EXPECT_EQ(runCommand("vrel", "export " + a + ' ' + b + " -o " + scratchPath("one.csv")).exitCode, 2);
  EXPECT_EQ(runCommand("vrel", "export " + a + " --format ndjson --period 5 -o " + folder).errors, "");
  EXPECT_EQ(namesIn(folder), std::set<std::string>{"zint_plain_11.ndjson"});
  EXPECT_EQ(runCommand("vrel", "export --native " + a + ' ' + b + " -o " + folder).exitCode, 0);
  EXPECT_TRUE(fs::exists(folder + "zint_plain_11/signals.csv"));
  EXPECT_TRUE(fs::exists(folder + "can_fd_11/signals.csv"));
}

TEST(SpreadsheetExportTest, WarnsOfWhatASpreadsheetCannotShow) {
  const std::string altitude = "export " + dataPath("zint_plain_11.vrel") +
                               " --signal GnssInt1_Altitude --dialect excel -o " + scratchPath("sheet.csv");
  EXPECT_EQ(runCommand("vrel", altitude + " --time elapsed").errors, "");
  EXPECT_EQ(contentsOf(scratchPath("sheet.csv")).substr(0, 3), "\xEF\xBB\xBF");
  EXPECT_THAT(runCommand("vrel", altitude).errors, HasSubstr("--time elapsed"));
  const auto large = runCommand("vrel", altitude + " --time elapsed --period 0.00001");
  EXPECT_EQ(large.exitCode, 0);
  EXPECT_THAT(large.errors, HasSubstr("vrel: warning: the table has 1,649,001 rows and 2 columns"));
  EXPECT_EQ(runCommand("vrel", altitude + " --format ndjson").exitCode, 2);
  EXPECT_EQ(runCommand("vrel", altitude + " --delimiter ,").exitCode, 2);
}

}  // namespace

}  // namespace Kvex::Tool
