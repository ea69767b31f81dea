// One stream: its header packets and what the scan counted.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  const Kvex::File run(arguments[1]);
  const Kvex::Stream& stream = run.stream(1);
  std::cout << stream.codec() << ", serial " << stream.serial() << ", " << stream.header().tag << '\n';
  for (const Kvex::Header& header : stream.headers()) {
    std::cout << header.tag << ' ' << header.values.size() << " values\n";
  }
  for (const Kvex::Counter& counter : stream.counters()) std::cout << counter.name << ' ' << counter.count << '\n';
}
