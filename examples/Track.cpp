#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  std::cout.precision(10);
  for (const Kvex::Batch& batch : run.native({"1:Lat", "1:Lon"}, {.batchRows = 100})) {
    const auto lat = batch.column<double>(0), lon = batch.column<double>(1);
    std::cout << batch.utc(0) << ' ' << lat[0] << ' ' << lon[0] << '\n';
  }
}
