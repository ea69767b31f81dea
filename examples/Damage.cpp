// Whether a file is whole, and where it is not.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  const Kvex::File run(arguments[1]);
  std::cout << Kvex::nameOf(run.judgement()) << ": " << run.damage().places().size() << " places\n";
  for (const Kvex::Place& place : run.damage().places()) std::cout << place.text << '\n';
}
