// A damaged file is rescued, cut, and merged with a sound recording: the first two bytes
// pick the span that is cut out, the third its kind, the rest is its content. What comes out is whole, and holds the
// packets that were readable.

#include <algorithm>
#include <fstream>
#include <kvex/File.h>
#include <kvex/Writing.h>
#include <sstream>

#include "support/Check.h"
#include "support/InputAsFile.h"
#include "support/Packets.h"
#include "synth/DemoRecording.h"

namespace {

using namespace Kvex;

std::string contentsOf(const std::string& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

void checkWhole(const std::string& path) {
  Fuzz::check(File(path).judgement() == Judgement::Whole);
}

using Testing::PacketsBySerial;
using Testing::TempFile;

bool hasPackets(const PacketsBySerial& streams) {
  return std::ranges::any_of(streams, [](const auto& stream) { return !stream.second.empty(); });
}

/// Rescuing saves every packet that was readable, and again gives the same bytes.
void checkRescue(const std::string& path, const PacketsBySerial& readable) {
  const TempFile saved("saved.vrel");
  const TempFile again("again.vrel");
  try {
    rescue(path, saved.path(), {.force = true});
  } catch (const Error& error) {
    Fuzz::check(error.code() == ErrorCode::Empty && !hasPackets(readable));
    Fuzz::check(contentsOf(saved.path()).empty());  // a failure leaves what was there
    return;
  }
  checkWhole(saved.path());
  PacketsBySerial packets = Testing::packetsOf(saved.path());
  for (const auto& [serial, ofStream] : readable) Fuzz::check(Testing::isWithin(ofStream, packets[serial]));
  Fuzz::check(!rescue(saved.path(), again.path(), {.force = true}).lost);
  Fuzz::check(contentsOf(saved.path()) == contentsOf(again.path()));
}

/// A cut of some 256ths of the file's span is whole, and its packets are packets of the file, in the same order.
void checkCut(const std::string& path, std::uint8_t from, std::uint8_t length, const PacketsBySerial& readable) {
  const TempFile cut("cut" + std::filesystem::path(path).extension().string());
  try {
    File file(path);
    const auto [start, end] = file.span();
    const std::uint64_t part = (static_cast<std::uint64_t>(end) - static_cast<std::uint64_t>(start)) / 256;
    CutOptions options;
    options.force = true;
    options.start = static_cast<Nano>(static_cast<std::uint64_t>(start) + part * from);
    options.end = static_cast<Nano>(static_cast<std::uint64_t>(start) + part * (from + 1U + length));
    file.cut(cut.path(), options);
  } catch (const Error& error) {
    const ErrorCode allowed[] = {ErrorCode::Empty, ErrorCode::NoTime, ErrorCode::InvalidArgument, ErrorCode::Refused};
    Fuzz::check(std::ranges::find(allowed, error.code()) != std::end(allowed));
    Fuzz::check(contentsOf(cut.path()).empty());  // a failure leaves what was there
    return;
  }
  checkWhole(cut.path());
  for (const auto& [serial, ofStream] : Testing::packetsOf(cut.path())) {
    Fuzz::check(ofStream.empty() || Testing::isWithin(ofStream, readable.at(serial)));
  }
}

/// The bytes of a short recording of two kinds of streams.
std::string soundRecording() {
  std::ostringstream out;
  const Synth::DemoProtocol* const protocols[] = {&Synth::demoProtocols()[0], &Synth::demoProtocols()[1]};
  Synth::DemoRecording demo(out, protocols, 1);
  demo.writeStep();
  demo.end();
  return out.str();
}

/// A merge keeps the readable packets of each input, whatever serial numbers they get.
void checkMerge(const std::string& path, const PacketsBySerial& readable) {
  const TempFile merged("merged.vrel");
  static const TempFile sound("sound.vrel", soundRecording());
  MergeReport report;
  try {
    report = merge({sound.path(), path}, merged.path(), {.force = true});
  } catch (const Error& error) {
    Fuzz::check(error.code() == ErrorCode::Empty || error.code() == ErrorCode::NoTime);
    Fuzz::check(contentsOf(merged.path()).empty());  // a failure leaves what was there
    return;
  }
  checkWhole(merged.path());
  PacketsBySerial packets = Testing::packetsOf(merged.path());
  const PacketsBySerial inputs[] = {Testing::packetsOf(sound.path()), readable};
  for (const MergedStream& stream : report.streams) {
    const auto before = inputs[stream.input].find(stream.serial);
    if (before == inputs[stream.input].end()) continue;
    Fuzz::check(Testing::isWithin(before->second, packets[stream.newSerial]));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3 || !Fuzz::InputAsFile::takes(size)) return 0;
  const Fuzz::InputAsFile input(data + 2, size - 2);
  const PacketsBySerial readable = Testing::packetsOf(input.path());
  checkCut(input.path(), data[0], data[1], readable);
  if (!input.path().ends_with(".vrel")) return 0;
  checkRescue(input.path(), readable);
  checkMerge(input.path(), readable);
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  if (size < 5 || seed % 8 == 0) return LLVMFuzzerMutate(data, size, maxSize);
  return 2 + Fuzz::mutateFile(data + 2, size - 2, maxSize - 2, seed);
}
