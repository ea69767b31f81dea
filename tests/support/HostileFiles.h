#pragma once

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "codecs.h"
#include "recording/OggPage.h"
#include "synth/CanPacket.h"
#include "synth/RangePackets.h"
#include "synth/RecordingWriter.h"

namespace Kvex::Testing {

/// A way to build a file that costs its reader as much as possible.
struct HostileFile {
  const char* name;
  const char* extension;
  std::string (*bytes)(std::size_t size);  ///< About so many bytes.
};

namespace Hostile {

inline std::string repeated(std::string_view pattern, std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) bytes += pattern;
  return bytes;
}

/// A recording with one stream, to which `fill` adds packets until it says false.
inline std::string recording(const Com::StreamForm& form, std::size_t size,
                             const std::function<void(Com::LogicalWriter&, std::uint64_t)>& fill) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream(form);
  stream.writeHeader();
  for (std::uint64_t i = 0; writer.bytesWritten() < size; ++i) fill(stream, i);
  writer.end();
  return out.str();
}

inline Com::StreamForm zintForm(const std::string& definition, std::size_t packetsPerPage = SIZE_MAX) {
  return {.serial = 1,
          .primary = Com::primaryText("[Kvex-Zint]", 1),
          .headers = {"/Kvex-Zint-Dbu/" + definition},
          .packetsPerPage = packetsPerPage};
}

/// Of the signals "Nano" and "Count" in message 1.
inline std::string zintDefinition(std::string_view messages = R"({"ID":1,"BS":[1,2]})",
                                  std::string_view moreSignals = "") {
  return R"({"V":1,"M":[)" + std::string(messages) +
         R"(],"S":[{"ID":1,"DN":"Nano","BT":"S","BO":0,"BS":64},{"ID":2,"DN":"Count","BT":"U","BO":64,"BS":32})" +
         std::string(moreSignals) + "]}";
}

inline std::vector<std::uint8_t> zintPacket(std::uint64_t message, std::uint64_t time, std::size_t payload = 12) {
  std::vector<std::uint8_t> packet(2 + payload);
  packet[0] = static_cast<std::uint8_t>(message);
  packet[1] = static_cast<std::uint8_t>(message >> 8);
  for (std::size_t i = 0; i < 8 && i < payload; ++i) packet[2 + i] = static_cast<std::uint8_t>(time >> 8 * i);
  return packet;
}

constexpr std::uint64_t kTime = 1'417'651'425'000'000'000;

inline std::string tinyPages(std::size_t size) {
  return recording(zintForm(zintDefinition(), 1), size,
                   [](auto& stream, std::uint64_t i) { stream.add(zintPacket(1, kTime + i)); });
}

/// The time goes back and forth by an hour with each packet.
inline std::string backAndForth(std::size_t size) {
  return recording(zintForm(zintDefinition()), size,
                   [](auto& stream, std::uint64_t i) { stream.add(zintPacket(1, kTime + i % 2 * 3'600'000'000'000)); });
}

inline std::string emptyPackets(std::size_t size) {
  return recording(zintForm(zintDefinition()), size, [](auto& stream, std::uint64_t) { stream.add({}); });
}

/// One byte of junk, and a gap in the page numbers, before each page.
inline std::string gaps(std::size_t size) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream(zintForm(zintDefinition(), 1));
  stream.writeHeader();
  for (std::uint64_t i = 0; writer.bytesWritten() < size; ++i) {
    stream.add(zintPacket(1, kTime + i));
    writer.writeJunk("x");
    stream.skipPages(1);
  }
  writer.end();
  return out.str();
}

/// Each page opens another logical stream.
inline std::string manyStreams(std::size_t size) {
  std::string bytes;
  for (std::uint32_t serial = 1; bytes.size() < size; ++serial) {
    bytes += Com::makePage({.flags = Com::PageFlag::kBos, .serial = serial, .packets = {"[Kvex-Zint]headers=1\n"}});
  }
  return bytes;
}

/// A thousand streams whose headers never come, and data of one stream meanwhile.
inline std::string waitingStreams(std::size_t size) {
  std::string bytes = manyStreams(std::min<std::size_t>(size / 2, 40'000));
  const std::string data(65'000, 'x');
  for (std::uint32_t number = 1; bytes.size() < size; ++number) {
    bytes += Com::makePage({.serial = 1 + number % 1000, .number = 1 + number / 1000, .packets = {data}});
  }
  return bytes;
}

/// A header packet that never ends.
inline std::string endlessHeader(std::size_t size) {
  std::string bytes = Com::makePage({.flags = Com::PageFlag::kBos, .serial = 1, .packets = {"[Kvex-Zint]headers=1\n"}});
  for (std::uint32_t number = 1; bytes.size() < size; ++number) {
    bytes += Com::makePage({.flags = number > 1 ? Com::PageFlag::kContinued : std::uint8_t{0},
                            .serial = 1,
                            .number = number,
                            .packets = {std::string(255, '{')},
                            .lastGoesOn = true});
  }
  return bytes;
}

/// Starts of pages that overlap, each of which asks for a checksum over the next ones.
inline std::string falsePages(std::size_t size) {
  return tinyPages(size / 10) + repeated(std::string_view("OggS\0\xFF\xFF", 7), size * 9 / 10);
}

/// Signals that inherit a long text from one entry.
inline std::string inheritedTexts(std::size_t size) {
  std::string signals =
      R"(,{"ID":3,"DN":")" + std::string(size / 2, 'n') + R"(","DC":")" + std::string(size / 4, 'c') + "\"}";
  std::string ids = "1,2,3";
  for (std::size_t id = 4; signals.size() < size; ++id) {
    const std::string text = std::to_string(id);
    signals += R"(,{"ID":)" + text + R"(,"IP":3})";
    ids += ',' + text;
  }
  return recording(zintForm(zintDefinition(R"({"ID":1,"BS":[)" + ids + "]}", signals)), size,
                   [](auto& stream, std::uint64_t i) { stream.add(zintPacket(1, kTime + i)); });
}

/// Half of the file defines signals, all of the same bits, and the other half is small packets of them.
inline std::string manySignals(std::size_t size) {
  std::string signals;
  std::string ids = "1,2";
  for (std::size_t id = 3; signals.size() < size / 2; ++id) {
    const std::string text = std::to_string(id);
    signals += R"(,{"ID":)" + text + R"(,"DN":"S)" + text + R"(","BS":1})";
    ids += ',' + text;
  }
  return recording(zintForm(zintDefinition(R"({"ID":1,"BS":[)" + ids + "]}", signals)), size,
                   [](auto& stream, std::uint64_t i) { stream.add(zintPacket(1, kTime + i)); });
}

/// Messages that all carry the same long list of signals, and a packet of each in turn.
inline std::string manyMessages(std::size_t size) {
  std::string messages;
  std::string ids = "1,2";
  std::string signals;
  for (std::size_t id = 3; signals.size() < size / 4; ++id) {
    const std::string text = std::to_string(id);
    signals += R"(,{"ID":)" + text + R"(,"DN":"S)" + text + R"(","BS":1})";
    ids += ',' + text;
  }
  messages = R"({"ID":1,"BS":[)" + ids + "]}";
  std::size_t count = 1;
  for (; messages.size() < size / 4 + ids.size(); ++count)
    messages += R"(,{"IP":1,"ID":)" + std::to_string(count + 1) + "}";
  return recording(zintForm(zintDefinition(messages, signals)), size,
                   [&](auto& stream, std::uint64_t i) { stream.add(zintPacket(1 + i % count, kTime + i)); });
}

inline std::string nestedDefinition(std::size_t size) {
  const std::string deep = std::string(250, '[') + std::string(250, ']');
  return recording(zintForm(zintDefinition(R"({"ID":1,"BS":[1,2]},)" + repeated(deep + ',', size / 2) + "0")), size,
                   [](auto& stream, std::uint64_t i) { stream.add(zintPacket(1, kTime + i)); });
}

inline std::string canRecording(const std::string& database, std::size_t size, std::uint32_t messages) {
  return recording(
      {.serial = 1, .primary = Com::primaryText("[Kvex-Can]", 1), .headers = {"(Kvex-Can-Dbc)" + database}}, size,
      [&](auto& stream, std::uint64_t i) {
        Synth::CanPacket packet(static_cast<Lib::Nano>(kTime + 1000 * i));
        const std::vector<std::uint8_t> data(8, static_cast<std::uint8_t>(i));
        for (int frame = 0; frame < 20; ++frame) {
          packet.addFrame(static_cast<std::uint32_t>((20 * i + static_cast<std::uint64_t>(frame)) % messages), data);
        }
        stream.add(packet.bytes());
      });
}

/// One message whose signals lie over each other, as many as the database takes.
inline std::string overlappingSignals(std::size_t size) {
  std::string database = "BO_ 0 M: 8 X\n";
  for (int i = 0; database.size() < size / 2; ++i) {
    database += " SG_ S" + std::to_string(i) + " : 0|8@1+ (1,0) [0|1] \"\" X\n";
  }
  return canRecording(database, size, 1);
}

/// The table of each signal is a message's long name.
inline std::string longMessageName(std::size_t size) {
  std::string database = "BO_ 0 " + std::string(size / 2, 'M') + ": 8 X\n";
  for (int i = 0; i < 1000; ++i) database += " SG_ S" + std::to_string(i) + " : 0|8@1+ (1,0) [0|1] \"\" X\n";
  return canRecording(database, size, 1);
}

/// Many messages, and lines that speak of each signal again and again.
inline std::string muchSaid(std::size_t size) {
  std::string database;
  constexpr std::uint32_t kMessages = 1000;
  for (std::uint32_t id = 0; id < kMessages; ++id) {
    database += "BO_ " + std::to_string(id) + " M: 8 X\n SG_ S : 0|8@1+ (1,0) [0|1] \"\" X\n";
  }
  for (std::uint32_t i = 0; database.size() < size * 3 / 4; ++i) {
    const std::string id = std::to_string(i % kMessages);
    database +=
        "VAL_ " + id + " S " + repeated("1 \"a\" ", 60) + ";\nCM_ SG_ " + id + " S \"c\";\nCM_ BO_ " + id + " \"c\";\n";
  }
  return canRecording(database, size, kMessages);
}

/// Texts that never end, one begun behind the other.
inline std::string openTexts(std::size_t size) {
  return canRecording(
      "BO_ 1 M: 8 X\n" + repeated("CM_ SG_ 1 S \"\nVAL_ 1 S 1 \"\nSG_ S : 0|8@1+ (1,0) [0|1] \"\n", size / 2), size, 2);
}

inline std::string framesOfOneByte(std::size_t size) {
  return repeated(std::string_view("\xE7\xE7\xE7\xE7", 4), size);
}
inline std::string zeroSums(std::size_t size, char sync, std::size_t packet) {
  std::string one(packet, '\0');
  one.front() = sync;
  return repeated(one, size);
}
inline std::string emptyQuon(std::size_t size) {
  return zeroSums(size, '\xE7', 72);
}
inline std::string emptyDask(std::size_t size) {
  return zeroSums(size, '\xE8', 84);
}
inline std::string falseDask(std::size_t size) {
  return repeated("\xE8", size);
}
/// Frames that lie in each other, each as long as frames may be.
inline std::string falseRanges(std::size_t size) {
  return repeated("W\x01\xF0\x09", size);
}
/// Navigation packets of ever new sources.
inline std::string manySources(std::size_t size) {
  std::string bytes;
  const std::vector<std::uint8_t> nav(72, 0);
  for (std::uint32_t address = 1; bytes.size() < size; ++address) {
    Synth::RangePacket packet = Synth::RangePacket::source(address, 0, nav);
    const auto view = packet.bytes();
    bytes.append(view.begin(), view.end());
  }
  return bytes;
}
/// Outlines of all targets in turn, one point each.
inline std::string outlines(std::size_t size) {
  std::string bytes;
  const Synth::OutlinePoint point{1, 2};
  for (std::uint32_t i = 0; bytes.size() < size; ++i) {
    Synth::RangePacket packet = Synth::RangePacket::polygon(static_cast<std::uint8_t>(i % 5), 64,
                                                            static_cast<std::uint8_t>(i % 64), {&point, 1});
    const auto view = packet.time(static_cast<Lib::Nano>(kTime + i * 1'000'000ULL)).bytes();
    bytes.append(view.begin(), view.end());
  }
  return bytes;
}

}  // namespace Hostile

inline constexpr HostileFile kHostileFiles[] = {
    {"a page for each packet", ".vrel", Hostile::tinyPages},
    {"time back and forth", ".vrel", Hostile::backAndForth},
    {"empty packets", ".vrel", Hostile::emptyPackets},
    {"junk and a gap before each page", ".vrel", Hostile::gaps},
    {"a stream for each page", ".vrel", Hostile::manyStreams},
    {"streams whose headers never come", ".vrel", Hostile::waitingStreams},
    {"a header that never ends", ".vrel", Hostile::endlessHeader},
    {"false pages in each other", ".vrel", Hostile::falsePages},
    {"signals that inherit a long text", ".vrel", Hostile::inheritedTexts},
    {"more signals than packet bits", ".vrel", Hostile::manySignals},
    {"messages of the same signals", ".vrel", Hostile::manyMessages},
    {"nested definitions", ".vrel", Hostile::nestedDefinition},
    {"CAN signals over each other", ".vrel", Hostile::overlappingSignals},
    {"a CAN message of a long name", ".vrel", Hostile::longMessageName},
    {"CAN signals spoken of again", ".vrel", Hostile::muchSaid},
    {"CAN texts that never end", ".vrel", Hostile::openTexts},
    {"sync bytes only", ".quon", Hostile::framesOfOneByte},
    {"packets of zeros", ".quon", Hostile::emptyQuon},
    {"sync bytes only", ".dask", Hostile::falseDask},
    {"packets of zeros", ".dask", Hostile::emptyDask},
    {"false frames in each other", ".yeld", Hostile::falseRanges},
    {"a source for each packet", ".yeld", Hostile::manySources},
    {"outlines point by point", ".yeld", Hostile::outlines},
};

}  // namespace Kvex::Testing
