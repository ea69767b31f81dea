#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);  // finds streams and damage; throws Kvex::Error with a sentence
  std::cout.precision(10);
  for (const Kvex::Batch& batch : run.grid({"1:Lat", "1:Lon"}, 2 * Kvex::kNanosPerSecond)) {
    const auto lat = batch.column<double>(0), lon = batch.column<double>(1);
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      if (lat.valid(row)) std::cout << batch.utc(row) << ' ' << lat[row] << ' ' << lon[row] << '\n';
    }
  }
}
