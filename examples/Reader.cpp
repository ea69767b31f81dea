// All samples as the recording carried them: of a few signals in one table, and of a stream in all its tables at once.
#include <iostream>
#include <kvex/File.h>
#include <map>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  std::size_t rows = 0;
  for (const Kvex::Batch& batch : run.native({"1:Lat", "1:Lon", "1:Speed2d"})) rows += batch.rows();
  std::cout << rows << " rows of position and speed\n";

  std::map<std::string, std::size_t> tables;
  for (const Kvex::Batch& batch : run.nativeTables(run.stream(1).signals())) tables[batch.table()] += batch.rows();
  for (const char* name : {"position", "velocity", "base station"}) std::cout << name << ": " << tables[name] << '\n';
}
