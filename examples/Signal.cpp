// Finding signals: by name, by pattern and by words; and what a signal says about itself.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  const Kvex::File run(arguments[1]);
  const Kvex::Signal mode = run.signal("1:GpsPosMode");
  std::cout << mode.qualifiedName() << ", table " << mode.table() << ": " << mode.description() << '\n';
  for (const Kvex::ValueText& entry : mode.texts()) {
    if (entry.value < 4) std::cout << "  " << entry.value << " is " << entry.text << '\n';
  }
  for (const Kvex::Signal& signal : run.match("1:Speed?d"))
    std::cout << signal.name() << " in " << signal.unit() << '\n';
  std::cout << run.search("longitudinal accuracy").size() << " signals of longitudinal accuracy\n";
  std::cout << run.signal("Hunter_PolygonPointsLat[3]").name() << " is one element\n";
}
