// The library as a client gets it: installed, found by CMake and by pkg-config, and used by the examples.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace Kvex {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The files of a folder with an ending, by their names without it.
std::set<std::string> namesIn(const fs::path& folder, const std::string& ending) {
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() == ending) names.insert(entry.path().stem());
  }
  return names;
}

/// The first block of code of a kind in a page, from the line behind a marker on.
std::string codeBlock(const std::string& page, const std::string& marker, const std::string& kind) {
  const std::string open = "```" + kind + "\n";
  const std::size_t begin = page.find(open, page.find(marker)) + open.size();
  return page.substr(begin, page.find("```", begin) - begin);
}

/// An installed tree in a folder of its own, for all tests.
class InstallTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = fs::temp_directory_path() / ("kvex-install-" + std::to_string(::getpid()));
    fs::create_directories(folder_);
    run("cmake --install '" KVEX_BUILD "' --prefix '" + prefix().string() + "'");
  }
  static void TearDownTestSuite() { fs::remove_all(folder_); }

  static fs::path prefix() { return folder_ / "installed"; }
  static fs::path folder() { return folder_; }

  /// Runs a command, whose output is shown if it fails. Gives what it wrote to standard output.
  static std::string run(const std::string& command) {
    const fs::path out = folder_ / "out.txt";
    const fs::path err = folder_ / "err.txt";
    const int status = std::system((command + " >'" + out.string() + "' 2>'" + err.string() + "'").c_str());
    if (status != 0) ADD_FAILURE() << command << '\n' << contentOf(out) << contentOf(err);
    return contentOf(out);
  }

 private:
  static fs::path folder_;
};

fs::path InstallTest::folder_;

const std::string kCompiler = KVEX_COMPILER " -std=c++20 -Wall -Wextra -Werror " KVEX_SANITIZER_FLAGS " ";

TEST_F(InstallTest, EachHeaderCompilesAloneWithTheStandardLibraryOnly) {
  const std::set<std::string> headers = namesIn(prefix() / "include/kvex", ".h");
  EXPECT_EQ(headers, namesIn(KVEX_SOURCE "/include/kvex", ".h"));
  for (const std::string& header : headers) {
    const fs::path source = folder() / "alone.cpp";
    std::ofstream(source) << "#include <kvex/" << header << ".h>\n";
    run(kCompiler + "-fsyntax-only -I'" + (prefix() / "include").string() + "' '" + source.string() + "'");
  }
}

TEST_F(InstallTest, ExamplesBuildWithCMakeAndPrintWhatIsExpected) {
  const std::string build = (folder() / "examples").string();
  run("cmake -G Ninja -S '" KVEX_SOURCE "/examples' -B '" + build + "' -DCMAKE_PREFIX_PATH='" + prefix().string() +
      "' -DCMAKE_CXX_COMPILER='" KVEX_COMPILER "' -DCMAKE_CXX_FLAGS='" KVEX_SANITIZER_FLAGS "'");
  run("cmake --build '" + build + "'");
  const std::set<std::string> examples = namesIn(KVEX_SOURCE "/examples", ".cpp");
  EXPECT_EQ(examples, namesIn(KVEX_TEST_DATA "/examples", ".txt"));
  for (const std::string& example : examples) {
    const std::string printed =
        run("cd '" KVEX_TEST_DATA "' && '" + build + "/" + example + "' range_recording_11.vrel");
    EXPECT_EQ(printed, contentOf(KVEX_TEST_DATA "/examples/" + example + ".txt")) << example;
  }
}

TEST_F(InstallTest, ProgramLinksWithPkgConfig) {
  std::string pkgConfig;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(prefix())) {
    if (entry.path().filename() == "kvex.pc") pkgConfig = entry.path().parent_path().string();
  }
  const std::string program = (folder() / "track").string();
  run(kCompiler + "'" KVEX_SOURCE "/examples/Track.cpp' -o '" + program + "' $(PKG_CONFIG_PATH='" + pkgConfig +
      "' pkg-config --cflags --libs kvex)");
  EXPECT_EQ(run("'" + program + "' '" KVEX_TEST_DATA "/range_recording_11.vrel'"),
            contentOf(KVEX_TEST_DATA "/examples/Track.txt"));
}

TEST_F(InstallTest, OnlyTheArchiveAndWhatFindsItIsInstalled) {
  std::set<std::string> libraries;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(prefix())) {
    if (entry.is_regular_file() && entry.path().extension() != ".h") libraries.insert(entry.path().filename());
  }
  EXPECT_THAT(libraries,
              testing::IsSupersetOf({"libkvex.a", "kvex.pc", "KvexConfig.cmake", "KvexConfigVersion.cmake"}));
  EXPECT_EQ(std::ranges::count_if(libraries, [](const std::string& name) { return name.ends_with(".a"); }), 1);
}

TEST(LibraryPagesTest, ProgramInTheReadmeIsTheExample) {
  const std::string readme = contentOf(KVEX_SOURCE "/README.md");
  EXPECT_EQ(codeBlock(readme, "## The library", "cpp"), contentOf(KVEX_SOURCE "/examples/Track.cpp"));
  EXPECT_EQ(codeBlock(readme, "## The library", "text"), contentOf(KVEX_TEST_DATA "/examples/Track.txt"));
}

}  // namespace
}  // namespace Kvex
