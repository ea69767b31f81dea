// The intervals during which a signal held each of its values, and how long it held each in all.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  Kvex::File run(arguments[1]);
  const Kvex::Signal mode = run.signal("1:InsNavMode");
  for (const Kvex::State& state : run.states(mode)) {
    std::cout << Kvex::utcText(state.from) << ' ' << static_cast<double>(state.to - state.from) * 1e-9 << " s "
              << mode.text(state.value) << '\n';
  }
  Kvex::States timeline = run.timeline(mode);  // with the time without a usable value
  for (const Kvex::StateTotal& total : Kvex::totalsOf(timeline)) {
    std::cout << total.times << " times, " << total.share * 100 << " %: " << mode.text(total.value) << '\n';
  }
}
