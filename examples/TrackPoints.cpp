// The path of the first stream that has positions, thinned to lines that are nowhere farther than half a metre from it.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  for (const Kvex::TrackSignals& track : run.tracks()) {
    std::cout << track.latitude.qualifiedName() << ", " << track.longitude.qualifiedName() << '\n';
  }
  std::cout.precision(10);
  run.track({.period = 2 * Kvex::kNanosPerSecond, .tolerance = 0.5}, [](const Kvex::TrackPoint& point) {
    std::cout << (point.beginsPart ? "from " : "to ") << Kvex::utcText(point.time) << ' ' << point.latitude << ' '
              << point.longitude << '\n';
  });
}
