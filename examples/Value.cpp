// One value with its state and time stamp, whatever its type.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  const Kvex::File run(arguments[1]);
  const Kvex::Signal signal = run.signal("1:TimeWeekCount");
  const Kvex::Value last = signal.last().value_or(Kvex::Value());
  std::cout << last.text() << ", usable " << last.usable() << ", stamped " << Kvex::utcText(last.stamp()) << '\n';
  std::cout << "as a number " << last.get<std::uint32_t>() << ", as a double " << last.asDouble() << '\n';
}
