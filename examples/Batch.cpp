// The columns of a batch: typed values, null cells, flags, arrays as lists, texts, and the plain memory behind them.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  Kvex::Reader reader =
      run.grid({"1:Speed2d", "1:GpsPosMode", "Hunter_PolygonPointsLat"}, Kvex::kNanosPerSecond, {.flags = true});
  if (!reader.next()) return 1;
  const Kvex::Batch& batch = reader.batch();
  const auto speed = batch.column<double>(0);
  const Kvex::TextColumn mode = batch.texts(1);
  const auto points = batch.list<double>(2);
  for (std::size_t row = 0; row < 3; ++row) {
    std::cout << (speed.valid(row) ? std::to_string(speed[row]) : "null") << " flags " << int{speed.flags(row)} << ", "
              << (mode.valid(row) ? mode[row] : "null") << ", " << points.size(row) << " points\n";
  }
  const Kvex::ColumnBuffers& memory = batch.buffers(0);
  std::cout << memory.rows
            << " rows, values at a multiple of 64: " << (reinterpret_cast<std::uintptr_t>(memory.values) % 64 == 0)
            << '\n';
}
