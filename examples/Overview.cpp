// How a signal went over time, in four slices: enough to draw it, in one walk.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  const Kvex::Overview overview = run.overview("1:Heading", 4);
  for (std::size_t slice = 0; slice < overview.slices(); ++slice) {
    const Kvex::Slice part = overview.at(0, slice);
    std::cout << Kvex::utcText(overview.sliceStart(slice)) << ": " << part.samples << " samples, "
              << part.smallest.asDouble() << " to " << part.largest.asDouble() << '\n';
  }
}
