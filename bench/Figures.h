#pragma once

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

namespace Kvex::Bench {

/// A measured figure. The limit is the largest value that is good, 0 where there is none.
struct Figure {
  std::string name;
  double value;
  std::string unit;
  double limit = 0;
};

/// Adds a figure to the file that KVEX_FIGURES names, one JSON object per line; does nothing without it.
inline void note(const std::string& bench, const Figure& figure) {
  const char* const path = std::getenv("KVEX_FIGURES");
  if (path == nullptr) return;
  nlohmann::ordered_json line = {
      {"bench", bench}, {"name", figure.name}, {"value", figure.value}, {"unit", figure.unit}};
  if (figure.limit != 0) line["limit"] = figure.limit;
  std::ofstream(path, std::ios::app) << line.dump() << '\n';
}

}  // namespace Kvex::Bench
