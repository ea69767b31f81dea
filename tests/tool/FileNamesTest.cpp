#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "tool/FileNames.h"

namespace Kvex::Tool {

namespace {

TEST(FileNamesTest, HostileTextsMakeSafeNames) {
  const struct {
    std::string text;
    std::string name;
  } cases[] = {
      {"position", "position"},
      {"Az_09.-", "Az_09.-"},
      {"CAN bus", "CAN%20bus"},
      {"100%", "100%25"},
      {".", "%2E"},
      {"..", "%2E."},
      {"../../etc/passwd", "%2E.%2F..%2Fetc%2Fpasswd"},
      {std::string("a\0b\n", 4), "a%00b%0A"},
      {"C:\\x|*?<>\"", "C%3A%5Cx%7C%2A%3F%3C%3E%22"},
      {"Größe", "Gr%C3%B6%C3%9Fe"},
      {std::string(200, 'x'), std::string(100, 'x')},
      {std::string(99, 'x') + "/x", std::string(99, 'x')},
      {std::string(98, 'x') + "ö", std::string(98, 'x')},
      {std::string(97, 'x') + "/x", std::string(97, 'x') + "%2F"},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(safeFileName(c.text, FileNames::kMaxLength), c.name) << c.text;
}

TEST(FileNamesTest, NoNameComesTwice) {
  const std::string longStem(300, 'y');
  const struct {
    std::string stem;
    std::string name;
  } cases[] = {
      {"run", "run.csv"},
      {"run", "run-2.csv"},
      {"RUN", "RUN-3.csv"},
      {"run-2", "run-2-2.csv"},
      {"run-4", "run-4.csv"},
      {"run", "run-5.csv"},
      {"", "unnamed.csv"},
      {longStem, std::string(96, 'y') + ".csv"},
      {longStem + "z", std::string(94, 'y') + "-2.csv"},
      {std::string(95, 'y') + "Y", std::string(94, 'y') + "-3.csv"},
  };
  FileNames names;
  for (const auto& c : cases) EXPECT_EQ(names.add(c.stem, ".csv"), c.name);
  EXPECT_EQ(names.add("run", ".ndjson"), "run.ndjson");
}

TEST(FileNamesTest, ManyEqualTextsAreQuick) {
  FileNames names;
  std::string last;
  for (int i = 0; i < 100'000; ++i) last = names.add("same", ".csv");
  EXPECT_EQ(last, "same-100000.csv");
}

TEST(FileNamesTest, StemsAreThoseOfTheInputs) {
  EXPECT_EQ(stemOf("drives/monday/run.vrel"), "run");
  EXPECT_EQ(stemOf("run.part.quon"), "run.part");
  EXPECT_EQ(stemOf(".vrel"), ".vrel");
}

}  // namespace

}  // namespace Kvex::Tool
