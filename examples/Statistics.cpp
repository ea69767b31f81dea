// What all samples of a signal say: how many, how often, from when to when, between which values.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  for (const Kvex::Statistics& signal : run.statistics({"1:Speed2d", "1:GpsPosMode"})) {
    std::cout << signal.signal.name() << ": " << signal.samples << " samples, " << signal.usable << " usable, "
              << signal.rate.value_or(0) << " per second, " << signal.smallest.asDouble() << " to "
              << signal.largest.asDouble() << ", " << signal.changes << " changes\n";
  }
}
