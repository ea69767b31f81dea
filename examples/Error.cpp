// What is thrown: one type, with a code, the file, the reason, and names that may have been meant.
#include <iostream>
#include <kvex/File.h>

int main(int, char** arguments) {
  try {
    Kvex::File run(arguments[1]);
    run.signal("Speed2d");
  } catch (const Kvex::Error& error) {
    std::cout << Kvex::nameOf(error.code()) << ": " << error.reason() << '\n';
    for (const std::string& name : error.candidates()) std::cout << "  " << name << '\n';
  }
  try {
    Kvex::File("no-such-file.vrel");
  } catch (const Kvex::Error& error) {
    std::cout << Kvex::nameOf(error.code()) << ": " << error.what() << '\n';
  }
}
