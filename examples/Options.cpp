// Progress of a long operation, and a stop token that ends it.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  double last = 0;
  Kvex::File run(arguments[1], {.progress = [&](const Kvex::Progress& progress) { last = progress.fraction; }});
  std::cout << "opened: " << last << '\n';

  std::stop_source stop;
  Kvex::Reader reader = run.native("1:Lat", {.batchRows = 10, .stop = stop.get_token()});
  reader.next();
  stop.request_stop();
  try {
    while (reader.next()) {
    }
  } catch (const Kvex::Error& error) {
    std::cout << Kvex::nameOf(error.code()) << '\n';
  }
}
