// Opens a recording and prints latitude and longitude of one stream as they were recorded.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  for (const Kvex::Batch& batch : run.native({"2:Lat", "2:Lon"}, {.batchRows = 5})) {
    const auto lat = batch.column<double>(0);
    const auto lon = batch.column<double>(1);
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      if (lat.valid(row)) std::cout << batch.utc(row) << ' ' << lat[row] << ' ' << lon[row] << '\n';
    }
  }
}
