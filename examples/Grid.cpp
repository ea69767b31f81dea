// Sample and hold: signals of two streams at a period, at given times, and at the times of a third signal.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  const Kvex::Nano start = run.span().start;
  const Kvex::Grid grids[] = {Kvex::Grid::every(Kvex::kNanosPerSecond), Kvex::Grid::at({start, start + 500'000'000}),
                              Kvex::Grid::like("Target1_RangeLon")};
  for (const Kvex::Grid& grid : grids) {
    std::size_t rows = 0;
    for (const Kvex::Batch& batch : run.grid({"1:Speed2d", "2:Speed2d"}, grid)) rows += batch.rows();
    std::cout << rows << " rows\n";
  }
}
