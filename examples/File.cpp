// What is in a file: its span, its streams and whether it is whole. No values are read.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  const Kvex::File run(arguments[1]);
  std::cout << Kvex::utcText(run.span().start) << " to " << Kvex::utcText(run.span().end) << '\n';
  for (const Kvex::Stream& stream : run.streams()) {
    std::cout << stream.id() << ' ' << stream.codec() << ": " << stream.signals().size() << " signals\n";
  }
  std::cout << run.damage().sentence() << '\n';
}
