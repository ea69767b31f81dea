#include <exception>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tool/Conversion.h"
#include "tool/Messages.h"

namespace {

using namespace Kvex::Tool;

constexpr std::string_view kMajor = "01";
constexpr std::string_view kMinor = "00";
constexpr std::string_view kRevision = "00";
constexpr std::string_view kDevelopment = "231014.14zg";

std::string versionText() {
  std::ostringstream text;
  text << kMajor << "." << kMinor << "." << kRevision << ", Development ID " << kDevelopment;
  return text.str();
}

void printBanner() {
  std::cout << "------------------KVEX MEASUREMENT INSTRUMENTS GROUP------------------" << std::endl
            << "| vrel2fix Conversion Utility                                        |" << std::endl
            << "| Version ID " << versionText() << "                   |" << std::endl
            << std::string(70, '-') << std::endl;
}

void printUsage() {
  std::cout << std::endl
            << "Usage: " << std::endl
            << std::endl
            << "   vrel2fix [-v|-h] | [<input_file_name> <output_file_name> <seconds_per_sample>]" << std::endl
            << std::endl;
}

/// The number with which a text starts: 0 where there is none, the nearest limit where it is beyond 32 bits.
std::int32_t leadingNumber(const std::string& text) {
  std::istringstream stream(text);
  std::int32_t number = 0;
  stream >> number;
  return number;
}

int runConversion(const std::vector<std::string>& arguments) {
  ConversionOptions options{.inputPath = arguments[0], .outputPath = arguments[1]};
  std::error_code error;
  if (!std::filesystem::exists(options.inputPath, error)) {
    std::cerr << "Input file \"" << options.inputPath.string() << "\" "
              << (error ? error.message() + "." : "does not exist.") << std::endl;
    return kNoInput;
  }
  options.secondsPerSample = leadingNumber(arguments[2]);
  if (options.secondsPerSample <= 0) {
    std::cerr << "Invalid seconds-per-sample value provided: " << options.secondsPerSample << std::endl;
    printUsage();
    return kBadPeriod;
  }
  return convert(options);
}

int run(const std::vector<std::string>& arguments) {
  if (arguments.size() == 1 && (arguments[0] == "--version" || arguments[0] == "-v")) {
    std::cout << "Version = " << versionText() << std::endl;
    return kSuccess;
  }
  if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
    printUsage();
    return kSuccess;
  }
  if (arguments.size() == 3) return runConversion(arguments);
  std::cerr << "Invalid number of arguments provided." << std::endl;
  printUsage();
  return kBadArguments;
}

}  // namespace

int main(int argc, char** argv) {
  openStandardDescriptors();
  printBanner();
  return run({argv + (argc > 0 ? 1 : 0), argv + argc});
}
