// The bytes of a recording: pages and packets that are read where they lie are those that libogg gives.

#include "support/Check.h"
#include "support/InputAsFile.h"
#include "support/PlainReading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (!Kvex::Fuzz::InputAsFile::takes(size)) return 0;
  const Kvex::Fuzz::InputAsFile file(data, size);
  const std::string_view recording(reinterpret_cast<const char*>(data) + 1, size - 1);
  for (const std::size_t blockSize : {4096, 0x10000}) {
    Kvex::Fuzz::check(Kvex::Testing::readPlainly(recording, blockSize) ==
                      Kvex::Testing::readInPlace(file.path(), blockSize));
  }
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return Kvex::Fuzz::mutateFile(data, size, maxSize, seed);
}
