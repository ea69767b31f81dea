// What a person types: a span of time, and signals in an order of choice; values only while they are young.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  const Kvex::ChosenSpan span = run.gridSpan({Kvex::TimeText("+5"), Kvex::TimeText("+1h")});
  for (const std::string& note : span.notes) std::cout << note << '\n';
  const auto signals = run.choose({"1:Lon,1:Lat [°]", "*:speed2?"});
  for (const Kvex::Signal& signal : signals) std::cout << signal.qualifiedName() << '\n';
  const Kvex::Grid young = Kvex::Grid::every(*Kvex::durationFromText("1s")).withMaxAge(20'000'000);
  std::size_t rows = 0;
  for (const Kvex::Batch& batch : run.grid(signals, young, {.start = span.start, .end = span.end}))
    rows += batch.rows();
  std::cout << rows << " rows\n";
  try {
    Kvex::TimeText("180");
  } catch (const Kvex::Error& error) {
    std::cout << error.reason() << '\n';
  }
}
